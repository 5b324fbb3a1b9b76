// Plays the user of the dialogs that this thread shows: carries out commands, one a line, in the words of the terminal
// dialog ("select 2", "double 1", "press 1158", "ok", "cancel"; controls by identifier), on real windows where there
// are some. At its end the dialog is cancelled.
#pragma once

#include <string>

#include "platform/noncopyable.h"

namespace uab {

// One at a time. What a terminal dialog writes meanwhile is kept from the test's own output.
class DialogScript : NonCopyable {
 public:
  explicit DialogScript(const std::string& commands);
  ~DialogScript();

  // What the terminal showed; empty where there are windows. Ends the script.
  std::string Finish();

 private:
  bool finished_ = false;
  int saved_input_ = -1;
};

}  // namespace uab
