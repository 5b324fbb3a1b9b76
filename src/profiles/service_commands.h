// What the message service dialog does when its window is there: it shows the services, follows the user with the
// states of the buttons, and carries out the commands. On the window's thread.
#pragma once

#include "profiles/kept_sections.h"
#include "profiles/service_dialog.h"
#include "profiles/service_list.h"

namespace uab {

class ServiceCommands : NonCopyable {
 public:
  // params is borrowed.
  ServiceCommands(HWND window, const ServiceDialogParams& params) noexcept
      : window_(window), params_(params), list_(window) {}

  void Initialize();
  bool Handle(WORD control, WORD notification);  // false: not one of ours

  void FreeRecords() noexcept { list_.FreeRecords(); }  // REQUIRES: the window is there

  // A service's library runs a dialog of its own, and with it whatever reaches this window in the meantime.
  bool busy() const noexcept { return busy_; }
  bool destroyed = false;  // the window went while a library ran

 private:
  void RemoveSelected();
  void ConfigureSelected();
  void Close(WORD control) noexcept;

  void RefreshButtons();
  void PassFocus(int button, int next);

  const HWND window_;
  const ServiceDialogParams& params_;
  ServiceList list_;
  KeptSections kept_;  // until the user confirms
  bool busy_ = false;
};

}  // namespace uab
