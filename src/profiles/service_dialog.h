// The message service dialog: lists the services of one profile and lets the user remove one or have it configured by
// its own library. Its template, number 255, belongs to the host's module:
//
//   1, 2   buttons to confirm and to cancel
//   1155   list box, a line for each service
//   1156   button that refreshes the buttons, nothing else; disabled unless the file has a choice of services
//   1157   button, removes the selected service
//   1158   button, configures the selected service, as a double click does
//
// Removals and configurations take effect at once; who shows the dialog undoes them when it is cancelled. What the
// libraries changed in the sections of their services is saved when the user confirms.
#pragma once

#include "keluab/admin.h"
#include "platform/win32.h"

namespace uab {

inline constexpr WORD kServiceDialogTemplate = 255;

// What the dialog works on. Borrowed while it is shown.
struct ServiceDialogParams {
  IMsgServiceAdmin* service_admin;
  WORD template_id;  // kServiceDialogTemplate
  const WCHAR* app_key;
};

// Shows the dialog, a child of window ui, and returns the button that closed it: IDOK; IDCANCEL, also when there is no
// memory for it; -1: the module has no such template.
INT_PTR ShowServiceDialog(HINSTANCE resources, ULONG_PTR ui, const ServiceDialogParams& params) noexcept;

// The dialog procedure; the parameter of WM_INITDIALOG is a ServiceDialogParams.
INT_PTR UAB_CALL ServiceDialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept;

}  // namespace uab
