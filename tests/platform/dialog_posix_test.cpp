// The terminal dialog: what its commands send, what it shows, and what its window handles are good for.
#include <gtest/gtest.h>

#include <functional>

#include "keluab/terminal_dialog.h"
#include "platform/win32.h"
#include "support/dialog_script.h"

namespace {
const uab::TerminalControl controls[] = {
    {5, uab::kTerminalLabel, 0, u"Label"},
    {10, uab::kTerminalList, 0, u"&Lines"},
    {11, uab::kTerminalButton, 0, u"&Remove && go"},
    {12, uab::kTerminalButton, uab::kTerminalDisabled, u"Re&move all"},
    {13, uab::kTerminalButton, uab::kTerminalDefault, nullptr},
};
}  // namespace

UAB_TERMINAL_DIALOG(7) = {sizeof(uab::TerminalDialog), 5, u"Title", nullptr, controls};

namespace uab {
namespace {

using Handler = std::function<INT_PTR(HWND, UINT, WPARAM)>;

std::string messages;
Handler handler;

INT_PTR Procedure(HWND window, UINT message, WPARAM wparam, LPARAM) {
  if (message == WM_COMMAND) messages += std::to_string(LOWORD(wparam)) + ":" + std::to_string(HIWORD(wparam)) + " ";
  if (message == WM_INITDIALOG) {
    for (const WCHAR* text : {u"one", u"two\x1B[2J"}) {
      SendDlgItemMessageW(window, 10, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
    }
  }
  if (handler) return handler(window, message, wparam);
  if (message == WM_COMMAND && LOWORD(wparam) <= IDCANCEL) EndDialog(window, LOWORD(wparam));
  return TRUE;
}

INT_PTR ShowDialog(WORD id = 7) { return DialogBoxParamW(nullptr, MAKEINTRESOURCEW(id), nullptr, &Procedure, 0); }

INT_PTR Show(const char* commands) {
  DialogScript script(commands);
  return ShowDialog();
}

TEST(TerminalDialog, CommandsBecomeMessages) {
  const struct {
    const char *commands, *sent;
    INT_PTR result;
  } cases[] = {
      {"", "2:0 ", IDCANCEL},
      {"# nothing\n\n  OK  \ncancel\n", "1:0 ", IDOK},
      {"select 2\ndouble 1\nok\n", "10:1 10:1 10:2 1:0 ", IDOK},
      {"select 0\nselect 3\nselect\nselect -1\nselect 99999999999\nselect x\nok\n", "1:0 ", IDOK},
      {"press 11\npress remove & go\npress REMOVE &\nok\n", "11:0 11:0 11:0 1:0 ", IDOK},
      {"press re\npress 12\npress 10\npress 5\npress\nwhat\nfocus 12\nok\n", "1:0 ", IDOK},  // none of them goes
  };
  for (const auto& each : cases) {
    messages.clear();
    EXPECT_EQ(Show(each.commands), each.result) << each.commands;
    EXPECT_EQ(messages, each.sent) << each.commands;
  }
}

TEST(TerminalDialog, ShowsTextOnly) {
  DialogScript script("select 2\npress remove all\nshow\n");
  ShowDialog();
  const char* kShown =
      "\n== Title ==\n  Label\n  Lines:\n      1  one\n    * 2  two?[2J\n  [Remove & go]  11\n"
      "  [Remove all]  12  (disabled)\n  []  13  (default)\n";
  const std::string output = script.Finish();
  EXPECT_NE(output.find(kShown), std::string::npos) << output;
  EXPECT_NE(output.find("That button is disabled."), std::string::npos) << output;
}

TEST(TerminalDialog, EndsWhateverTheProcedureDoes) {
  int destroyed = 0;
  const std::pair<Handler, INT_PTR> cases[] = {
      {[](HWND, UINT, WPARAM) { return FALSE; }, IDCANCEL},  // never closes: the end of the input does
      {[](HWND window, UINT message, WPARAM) { return message == WM_INITDIALOG && EndDialog(window, 9); }, 9},
      {[](HWND, UINT message, WPARAM) { return message == WM_COMMAND ? throw 1 : FALSE; }, -1},
      {[](HWND, UINT message, WPARAM) { return message == WM_INITDIALOG ? throw 1 : FALSE; }, -1},
  };
  for (const auto& each : cases) {
    handler = [&](HWND window, UINT message, WPARAM wparam) {
      if (message == WM_DESTROY) ++destroyed;
      return each.first(window, message, wparam);
    };
    EXPECT_EQ(Show(""), each.second);
  }
  EXPECT_EQ(destroyed, 4);
  handler = nullptr;
  EXPECT_EQ(ShowDialog(8), -1) << "no such template";
}

TEST(TerminalDialog, NestedDialogsAndStaleHandles) {
  HWND outer = nullptr, inner = nullptr, button = nullptr;
  handler = [&](HWND window, UINT message, WPARAM wparam) -> INT_PTR {
    if (message != WM_COMMAND) return TRUE;
    if (LOWORD(wparam) != 11) return EndDialog(window, LOWORD(wparam));
    (outer == nullptr ? outer : inner) = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, inner == nullptr ? 77 : 78);
    EXPECT_TRUE(inner != nullptr || ShowDialog() == IDOK);
    button = GetDlgItem(inner, 11);
    EXPECT_EQ(button == nullptr, window == outer) << "closed";
    EXPECT_EQ(GetWindowLongPtrW(outer, GWLP_USERDATA), 77);
    return TRUE;
  };
  EXPECT_EQ(Show("press 11\npress 11\nok\n"), IDCANCEL);
  handler = nullptr;
  for (HWND window : {outer, inner, button, HWND{}, reinterpret_cast<HWND>(~ULONG_PTR{0})}) {
    RECT rect;
    EXPECT_EQ(GetDlgItem(window, 11), nullptr);
    EXPECT_EQ(GetWindowRect(window, &rect), FALSE);
    EXPECT_EQ(SendDlgItemMessageW(window, 10, LB_GETCOUNT, 0, 0), 0);
  }
}

}  // namespace
}  // namespace uab
