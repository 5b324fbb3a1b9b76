// One open terminal dialog: its controls, what they hold, and the messages that they understand. Lives on the stack of
// DialogBoxParamW and belongs to that thread, whose open dialogs form a chain from the innermost outwards.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "keluab/terminal_dialog.h"
#include "platform/noncopyable.h"
#include "platform/win32.h"

namespace uab {

struct DialogControl {
  struct Line {
    std::u16string text;
    LPARAM data = 0;
  };

  // What the dialog itself is in the same terms: the first of its windows.
  static constexpr WORD kDialog = 0xFFFF;

  WORD id = 0;
  WORD kind = kDialog;
  bool enabled = true;
  bool is_default = false;
  std::u16string text;
  LONG_PTR user_data = 0;
  std::vector<Line> lines;
  int selected = -1;  // of lines; -1: none

  bool TakesFocus() const noexcept { return enabled && (kind == kTerminalButton || kind == kTerminalList); }
  // An LB_ or BM_ message, as Windows answers it. 0 for all others.
  LRESULT Handle(UINT message, WPARAM wparam, LPARAM lparam);

 private:
  LRESULT HandleList(UINT message, WPARAM wparam, LPARAM lparam);
  LRESULT DeleteLine(int index);
};

class DialogWindow : NonCopyable {
 public:
  // Becomes the thread's innermost dialog. REQUIRES: destroyed before those opened earlier. Throws std::bad_alloc.
  DialogWindow(const TerminalDialog& shape, DLGPROC procedure);
  ~DialogWindow();

  // The dialog and control that a handle of this thread names; dialog null: it names none.
  struct Place {
    DialogWindow* dialog;
    DialogControl* control;
  };
  static Place Find(HWND window) noexcept;
  static DialogWindow* Innermost() noexcept;

  HWND Handle() const noexcept { return HandleOf(0); }
  HWND HandleOf(const DialogControl& control) const noexcept;
  DialogControl* FindControl(int id) noexcept;                         // null: none
  std::vector<DialogControl>& windows() noexcept { return windows_; }  // the dialog itself, then its controls
  const std::u16string& description() const noexcept { return description_; }

  // Calls the dialog procedure. What it throws closes the dialog with -1.
  INT_PTR Send(UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  // WM_COMMAND from a control.
  void Notify(const DialogControl& control, WORD code) noexcept;

  void End(INT_PTR result) noexcept;  // the first result stays
  bool ended() const noexcept { return result_.has_value(); }
  INT_PTR result() const noexcept { return result_.value_or(-1); }

  DialogControl* focus = nullptr;
  RECT rect{0, 0, 60, 20};

 private:
  HWND HandleOf(std::size_t index) const noexcept;

  DLGPROC const procedure_;
  DialogWindow* const outer_;
  const ULONG_PTR serial_;  // never used twice, so that the handles of a closed dialog name nothing
  std::u16string description_;
  std::vector<DialogControl> windows_;
  std::optional<INT_PTR> result_;
};

}  // namespace uab
