// The current user's registry as one that can only be read. REQUIRES: a TestHive lives, and nothing else runs.
#pragma once

#include "platform/noncopyable.h"
#include "platform/system_calls.h"

namespace uab {

// Outside Windows the files of the hive and this process lose the right to write; on Windows the system's calls refuse
// what needs it, since Wine keeps no rights of keys.
class ReadOnlyRegistry : NonCopyable {
 public:
  ReadOnlyRegistry();
  ~ReadOnlyRegistry();

 private:
  SystemCalls before_;
};

}  // namespace uab
