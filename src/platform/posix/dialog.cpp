// The dialog functions, over terminal dialogs. A window handle is good on the thread that shows the dialog, while it
// is open; any other is refused with ERROR_INVALID_WINDOW_HANDLE.
#include <dlfcn.h>

#include <new>
#include <string>

#include "platform/posix/dialog_terminal.h"
#include "platform/posix/dialog_window.h"

namespace uab {
namespace {

constexpr DWORD kInvalidWindowHandle = 1400;
constexpr DWORD kTemplateNotFound = 1813;
constexpr RECT kDesktop{0, 0, 80, 24};  // a terminal's usual size; positions are kept, not shown

HWND DesktopHandle() noexcept { return reinterpret_cast<HWND>(ULONG_PTR{1}); }

DialogWindow::Place FindOrFail(HWND window) noexcept {
  DialogWindow::Place place = DialogWindow::Find(window);
  if (place.dialog == nullptr) SetLastError(kInvalidWindowHandle);
  return place;
}

// Null: the module has none of that identifier, or one that we don't know.
const TerminalDialog* FindTemplate(HINSTANCE module, const WCHAR* name) {
  auto id = reinterpret_cast<ULONG_PTR>(name);
  if (id > 0xFFFF) return nullptr;
  std::string symbol = "UABDialogTemplate" + std::to_string(id);
  void* data = dlsym(module == nullptr ? RTLD_DEFAULT : static_cast<void*>(module), symbol.c_str());
  auto* shape = static_cast<const TerminalDialog*>(data);
  return shape != nullptr && shape->size >= sizeof(TerminalDialog) ? shape : nullptr;
}

void FocusFirst(DialogWindow& dialog) noexcept {
  for (DialogControl& control : dialog.windows()) {
    if (dialog.focus == nullptr && control.TakesFocus()) dialog.focus = &control;
  }
}

}  // namespace

INT_PTR DialogBoxParamW(HINSTANCE module, const WCHAR* dialog_template, HWND, DLGPROC procedure, LPARAM parameter) {
  try {
    const TerminalDialog* shape = FindTemplate(module, dialog_template);
    if (shape == nullptr || procedure == nullptr) {
      SetLastError(kTemplateNotFound);
      return -1;
    }
    DialogWindow dialog(*shape, procedure);
    dialog.Send(WM_INITDIALOG, 0, parameter);
    FocusFirst(dialog);
    try {
      if (!dialog.ended()) RunDialogOnTerminal(dialog);
    } catch (const std::bad_alloc&) {
      dialog.End(-1);
    }
    dialog.Send(WM_DESTROY, 0, 0);
    return dialog.result();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return -1;
  }
}

BOOL EndDialog(HWND dialog, INT_PTR result) {
  DialogWindow::Place place = FindOrFail(dialog);
  if (place.dialog == nullptr) return FALSE;
  place.dialog->End(result);
  return TRUE;
}

LRESULT SendDlgItemMessageW(HWND dialog, int control, UINT message, WPARAM wparam, LPARAM lparam) {
  DialogWindow::Place place = FindOrFail(dialog);
  DialogControl* target = place.dialog != nullptr ? place.dialog->FindControl(control) : nullptr;
  if (target == nullptr) return 0;
  try {
    return target->Handle(message, wparam, lparam);
  } catch (const std::bad_alloc&) {
    return LB_ERRSPACE;
  }
}

HWND GetDlgItem(HWND dialog, int control) {
  DialogWindow::Place place = FindOrFail(dialog);
  DialogControl* target = place.dialog != nullptr ? place.dialog->FindControl(control) : nullptr;
  return target != nullptr ? place.dialog->HandleOf(*target) : nullptr;
}

BOOL EnableWindow(HWND window, BOOL enable) {
  DialogWindow::Place place = FindOrFail(window);
  if (place.dialog == nullptr) return FALSE;
  bool was_enabled = place.control->enabled;
  place.control->enabled = enable != FALSE;
  if (!place.control->enabled && place.dialog->focus == place.control) place.dialog->focus = nullptr;
  return was_enabled ? FALSE : TRUE;
}

HWND GetFocus() {
  DialogWindow* dialog = DialogWindow::Innermost();
  return dialog != nullptr && dialog->focus != nullptr ? dialog->HandleOf(*dialog->focus) : nullptr;
}

HWND SetFocus(HWND window) {
  HWND before = GetFocus();
  DialogWindow::Place place = FindOrFail(window);
  if (place.dialog == nullptr || !place.control->TakesFocus()) return nullptr;
  place.dialog->focus = place.control;
  return before;
}

HWND GetDesktopWindow() { return DesktopHandle(); }

BOOL GetWindowRect(HWND window, RECT* rect) {
  if (window == DesktopHandle()) {
    *rect = kDesktop;
    return TRUE;
  }
  DialogWindow::Place place = FindOrFail(window);
  if (place.dialog == nullptr) return FALSE;
  *rect = place.dialog->rect;
  return TRUE;
}

BOOL MoveWindow(HWND window, int x, int y, int width, int height, BOOL) {
  DialogWindow::Place place = FindOrFail(window);
  if (place.dialog == nullptr) return FALSE;
  if (window == place.dialog->Handle()) place.dialog->rect = {x, y, x + width, y + height};
  return TRUE;
}

LONG_PTR GetWindowLongPtrW(HWND window, int index) {
  DialogWindow::Place place = FindOrFail(window);
  return place.dialog != nullptr && index == GWLP_USERDATA ? place.control->user_data : 0;
}

LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
  DialogWindow::Place place = FindOrFail(window);
  if (place.dialog == nullptr || index != GWLP_USERDATA) return 0;
  LONG_PTR before = place.control->user_data;
  place.control->user_data = value;
  return before;
}

}  // namespace uab
