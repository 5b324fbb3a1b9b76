#include "platform/posix/dialog_window.h"

#include <algorithm>
#include <atomic>
#include <string_view>

namespace uab {
namespace {

// A handle: the dialog's serial number above 16 bits of window number, 1 for the dialog itself.
constexpr unsigned kNumberBits = 16;

// Plain pointers, so that nothing of this library has to run when a thread ends.
thread_local DialogWindow* innermost = nullptr;

ULONG_PTR NextSerial() noexcept {
  static std::atomic<ULONG_PTR> last{0};
  return ++last;
}

std::u16string TextOrEmpty(const WCHAR* text) { return text == nullptr ? std::u16string() : std::u16string(text); }

std::u16string WithoutMnemonic(const WCHAR* text) {
  std::u16string shown;
  for (std::u16string_view rest = text == nullptr ? u"" : text; !rest.empty(); rest.remove_prefix(1)) {
    if (rest.front() == u'&') rest.remove_prefix(1);
    if (rest.empty()) break;
    shown.push_back(rest.front());
  }
  return shown;
}

}  // namespace

LRESULT DialogControl::Handle(UINT message, WPARAM wparam, LPARAM lparam) {
  if (kind == kTerminalList) return HandleList(message, wparam, lparam);
  if (kind == kTerminalButton && message == BM_SETSTYLE) is_default = LOWORD(wparam) == BS_DEFPUSHBUTTON;
  return 0;
}

LRESULT DialogControl::HandleList(UINT message, WPARAM wparam, LPARAM lparam) {
  int count = static_cast<int>(lines.size());
  int index = static_cast<int>(wparam);
  bool in_range = index >= 0 && index < count;
  Line* line = in_range ? &lines[static_cast<std::size_t>(index)] : nullptr;
  switch (message) {
    case LB_ADDSTRING:
      lines.push_back({TextOrEmpty(reinterpret_cast<const WCHAR*>(lparam))});
      return count;
    case LB_DELETESTRING:
      return in_range ? DeleteLine(index) : LB_ERR;
    case LB_SETCURSEL:
      if (in_range || index == -1) selected = index;
      return in_range ? index : LB_ERR;
    case LB_GETCURSEL:
      return selected;  // -1 is LB_ERR
    case LB_GETCOUNT:
      return count;
    case LB_GETTEXTLEN:
      return in_range ? static_cast<LRESULT>(line->text.size()) : LB_ERR;
    case LB_GETTEXT:
      if (!in_range) return LB_ERR;
      line->text.copy(reinterpret_cast<WCHAR*>(lparam), line->text.size());
      reinterpret_cast<WCHAR*>(lparam)[line->text.size()] = 0;
      return static_cast<LRESULT>(line->text.size());
    case LB_GETITEMDATA:
      return in_range ? line->data : LB_ERR;
    case LB_SETITEMDATA:
      if (in_range) line->data = lparam;
      return in_range ? TRUE : LB_ERR;
    default:
      return 0;
  }
}

LRESULT DialogControl::DeleteLine(int index) {
  lines.erase(lines.begin() + index);
  if (selected == index) {
    selected = -1;
  } else if (selected > index) {
    --selected;
  }
  return static_cast<LRESULT>(lines.size());
}

DialogWindow::DialogWindow(const TerminalDialog& shape, DLGPROC procedure)
    : procedure_(procedure),
      outer_(innermost),
      serial_(NextSerial()),
      description_(TextOrEmpty(shape.description)),
      windows_(1) {
  windows_[0].text = TextOrEmpty(shape.title);
  std::size_t count = std::min<std::size_t>(shape.control_count, (1u << kNumberBits) - 2);
  for (const TerminalControl* given = shape.controls; count > 0; --count, ++given) {
    if (given->kind > kTerminalList) continue;
    DialogControl& control = windows_.emplace_back();
    control.id = given->id;
    control.kind = given->kind;
    control.enabled = (given->flags & kTerminalDisabled) == 0;
    control.is_default = (given->flags & kTerminalDefault) != 0;
    control.text = WithoutMnemonic(given->text);
  }
  innermost = this;
}

DialogWindow::~DialogWindow() { innermost = outer_; }

DialogWindow* DialogWindow::Innermost() noexcept { return innermost; }

DialogWindow::Place DialogWindow::Find(HWND window) noexcept {
  auto value = reinterpret_cast<ULONG_PTR>(window);
  std::size_t number = value & ((1u << kNumberBits) - 1);
  for (DialogWindow* dialog = innermost; dialog != nullptr; dialog = dialog->outer_) {
    if (dialog->serial_ != value >> kNumberBits) continue;
    if (number == 0 || number > dialog->windows_.size()) break;
    return {dialog, &dialog->windows_[number - 1]};
  }
  return {nullptr, nullptr};
}

HWND DialogWindow::HandleOf(std::size_t index) const noexcept {
  return reinterpret_cast<HWND>((serial_ << kNumberBits) | (index + 1));
}

HWND DialogWindow::HandleOf(const DialogControl& control) const noexcept {
  return HandleOf(static_cast<std::size_t>(&control - windows_.data()));
}

DialogControl* DialogWindow::FindControl(int id) noexcept {
  auto control = std::find_if(windows_.begin() + 1, windows_.end(), [id](auto& each) { return each.id == id; });
  return control == windows_.end() ? nullptr : &*control;
}

INT_PTR DialogWindow::Send(UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  try {
    return procedure_(Handle(), message, wparam, lparam);
  } catch (...) {  // a host's or a service library's code
    End(-1);
    return FALSE;
  }
}

void DialogWindow::Notify(const DialogControl& control, WORD code) noexcept {
  Send(WM_COMMAND, MAKEWPARAM(control.id, code), reinterpret_cast<LPARAM>(HandleOf(control)));
}

void DialogWindow::End(INT_PTR result) noexcept {
  if (!ended()) result_ = result;
}

}  // namespace uab
