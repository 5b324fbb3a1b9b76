// A timer of the thread, whose messages every modal dialog's loop delivers, acts on the innermost open dialog.
#include "support/dialog_script.h"

#include <deque>
#include <sstream>

#include "platform/win32.h"
#include "support/heap_watch.h"

namespace uab {
namespace {

std::deque<std::string> commands_left;
UINT_PTR timer = 0;

// The visible dialog of this thread that takes input; null: none yet.
HWND OpenDialog() {
  HWND found = nullptr;
  auto look = [](HWND window, LPARAM result) -> BOOL {
    WCHAR name[16] = {};
    GetClassNameW(window, name, 16);
    if (lstrcmpW(name, L"#32770") != 0 || !IsWindowVisible(window) || !IsWindowEnabled(window)) return TRUE;
    *reinterpret_cast<HWND*>(result) = window;
    return FALSE;
  };
  EnumThreadWindows(GetCurrentThreadId(), look, reinterpret_cast<LPARAM>(&found));
  return found;
}

void Notify(HWND dialog, HWND control, WORD code) {
  auto id = static_cast<WORD>(GetDlgCtrlID(control));
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, code), reinterpret_cast<LPARAM>(control));
}

void Press(HWND dialog, int id) {
  HWND button = GetDlgItem(dialog, id);
  if (button == nullptr || !IsWindowEnabled(button)) return;  // a user can't either
  SetActiveWindow(dialog);
  SetFocus(button);
  SendMessageW(button, BM_CLICK, 0, 0);
}

void Select(HWND dialog, int number, bool double_click) {
  HWND list = FindWindowExW(dialog, nullptr, L"ListBox", nullptr);
  SetFocus(list);
  if (SendMessageW(list, LB_SETCURSEL, static_cast<WPARAM>(number - 1), 0) == LB_ERR) return;
  Notify(dialog, list, LBN_SELCHANGE);
  if (double_click) Notify(dialog, list, LBN_DBLCLK);
}

struct Command {
  std::string verb;
  int number = 0;
};

Command TakeCommand() {
  UnwatchedScope unwatched;
  Command command{"cancel"};
  if (commands_left.empty()) return command;
  std::istringstream(commands_left.front()) >> command.verb >> command.number;
  commands_left.pop_front();
  return command;
}

void CALLBACK NextCommand(HWND, UINT, UINT_PTR, DWORD) {
  HWND dialog = OpenDialog();
  if (dialog == nullptr) return;
  const Command command = TakeCommand();  // first: it may show another dialog, which takes the next one
  if (command.verb == "select" || command.verb == "double") Select(dialog, command.number, command.verb == "double");
  if (command.verb == "press") Press(dialog, command.number);
  if (command.verb == "ok") Press(dialog, IDOK);
  if (command.verb == "cancel") SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
}

}  // namespace

DialogScript::DialogScript(const std::string& commands) {
  UnwatchedScope unwatched;
  std::istringstream lines(commands);
  commands_left.clear();
  for (std::string line; std::getline(lines, line);) commands_left.push_back(line);
  timer = SetTimer(nullptr, 0, 10, NextCommand);
}

DialogScript::~DialogScript() { Finish(); }

std::string DialogScript::Finish() {
  if (!finished_) KillTimer(nullptr, timer);
  finished_ = true;
  return {};
}

}  // namespace uab
