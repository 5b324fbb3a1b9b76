#include "profiles/service_dialog.h"

#include <new>

#include "platform/at_boundary.h"
#include "platform/system_calls.h"
#include "platform/wait_scope.h"
#include "profiles/service_commands.h"

namespace uab {
namespace {

ServiceCommands* DialogOf(HWND window) noexcept {
  return reinterpret_cast<ServiceCommands*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

void CentreOnDesktop(HWND window) noexcept {
  RECT desktop{};
  RECT dialog{};
  GetWindowRect(GetDesktopWindow(), &desktop);
  GetWindowRect(window, &dialog);
  int width = dialog.right - dialog.left;
  int height = dialog.bottom - dialog.top;
  MoveWindow(window, (desktop.right - desktop.left) / 2 - width / 2, (desktop.bottom - desktop.top) / 2 - height / 2,
             width, height, FALSE);
}

void OnInitDialog(HWND window, const ServiceDialogParams& params) {
  CentreOnDesktop(window);
  auto* dialog = new (std::nothrow) ServiceCommands(window, params);
  if (dialog == nullptr) {
    EndDialog(window, IDCANCEL);
    return;
  }
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(dialog));
  dialog->Initialize();
}

bool OnCommand(HWND window, WPARAM wparam) {
  ServiceCommands* dialog = DialogOf(window);
  if (dialog == nullptr) return false;
  if (dialog->busy()) return true;
  bool handled = false;
  WaitScope wait;
  at_boundary([&]() -> HRESULT {
    handled = dialog->Handle(LOWORD(wparam), HIWORD(wparam));
    return S_OK;
  });
  if (dialog->destroyed) delete dialog;
  return handled;
}

void OnDestroy(HWND window) noexcept {
  ServiceCommands* dialog = DialogOf(window);
  if (dialog == nullptr) return;
  SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  dialog->FreeRecords();
  if (dialog->busy()) {
    dialog->destroyed = true;  // the command that runs deletes it
  } else {
    delete dialog;
  }
}

}  // namespace

INT_PTR ShowServiceDialog(HINSTANCE resources, ULONG_PTR ui, const ServiceDialogParams& params) noexcept {
  WaitPause pause;
  return Sys().dialog_box_param(resources, MAKEINTRESOURCEW(kServiceDialogTemplate), reinterpret_cast<HWND>(ui),
                                &ServiceDialogProcedure, reinterpret_cast<LPARAM>(&params));
}

INT_PTR UAB_CALL ServiceDialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  switch (message) {
    case WM_INITDIALOG:
      at_boundary([&]() -> HRESULT {
        OnInitDialog(window, *reinterpret_cast<const ServiceDialogParams*>(lparam));
        return S_OK;
      });
      return TRUE;
    case WM_COMMAND:
      return OnCommand(window, wparam) ? TRUE : FALSE;
    case WM_DESTROY:
      OnDestroy(window);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace uab
