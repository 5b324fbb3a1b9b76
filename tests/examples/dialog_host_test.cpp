// The dialog host as its user meets it: the real program in a process of its own, looked at and driven by messages to
// its windows. Every wait ends. run_dialog_host.cmake makes its profile.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "resource.h"

namespace {

template <typename Condition>
bool Wait(Condition condition) {
  for (int i = 0; i < 400 && !condition(); ++i) Sleep(50);
  return condition();
}

LRESULT Ask(HWND window, UINT message, WPARAM wparam = 0, LPARAM lparam = 0) {
  DWORD_PTR result = 0;
  EXPECT_NE(SendMessageTimeoutW(window, message, wparam, lparam, SMTO_NORMAL, 20'000, &result), 0) << message;
  return static_cast<LRESULT>(result);
}
template <typename Buffer>
LPARAM At(Buffer& buffer) {
  return reinterpret_cast<LPARAM>(&buffer);
}
std::wstring TextOf(HWND window) {
  wchar_t text[200] = {};
  Ask(window, WM_GETTEXT, 200, At(text));
  return text;
}

class DialogHost : public testing::Test {
 protected:
  void SetUp() override {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    wchar_t command[] = L"dialog-host.exe dialog-host-test Test";  // it lies beside this program
    ASSERT_TRUE(CreateProcessW(nullptr, command, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &host_));
    ASSERT_TRUE(Wait([&] {
      main_ = FindWindowW(L"KELUAB dialog host", nullptr);
      return main_ != nullptr && IsWindowVisible(main_);  // its parts are there by then
    }));
    tree_ = FindWindowExW(main_, nullptr, WC_TREEVIEWW, nullptr);
    list_ = FindWindowExW(main_, nullptr, WC_LISTVIEWW, nullptr);
    status_ = FindWindowExW(main_, nullptr, STATUSCLASSNAMEW, nullptr);
    ASSERT_TRUE(tree_ != nullptr && list_ != nullptr && status_ != nullptr);
  }
  void TearDown() override {
    TerminateProcess(host_.hProcess, 1);  // no matter if it has ended
    CloseHandle(host_.hThread);
    CloseHandle(host_.hProcess);
  }

  // The status line of every container once it is selected, with the number of entries that the list shows then.
  std::map<std::wstring, LRESULT> Containers() {
    std::map<std::wstring, LRESULT> found;
    for (LRESULT item = Ask(tree_, TVM_GETNEXTITEM, TVGN_ROOT); item != 0;) {
      Ask(tree_, TVM_SELECTITEM, TVGN_CARET, item);
      found[TextOf(status_)] = Ask(list_, LVM_GETITEMCOUNT);
      LRESULT next = Ask(tree_, TVM_GETNEXTITEM, TVGN_CHILD, item);
      for (; next == 0 && item != 0; item = Ask(tree_, TVM_GETNEXTITEM, TVGN_PARENT, item)) {
        next = Ask(tree_, TVM_GETNEXTITEM, TVGN_NEXT, item);
      }
      item = next;
    }
    return found;
  }
  HWND OpenDialog() {  // null: it does not open
    HWND dialog = nullptr;
    PostMessageW(main_, WM_COMMAND, IDM_CONFIGURE, 0);
    Wait([&] {
      dialog = FindWindowW(L"#32770", L"Address Books");
      return dialog != nullptr && IsWindowVisible(dialog) && GetWindow(dialog, GW_OWNER) == main_;
    });
    return dialog;
  }
  void Press(HWND dialog, int button) { PostMessageW(GetDlgItem(dialog, button), BM_CLICK, 0, 0); }

  PROCESS_INFORMATION host_ = {};
  HWND main_ = nullptr, tree_ = nullptr, list_ = nullptr, status_ = nullptr;
};

TEST_F(DialogHost, ShowsContainersAndEntriesAndChangesTheProfile) {
  std::map<std::wstring, LRESULT> office = {
      {L"Office: 0 entries", 0}, {L"Office/contacts: 0 entries", 0}, {L"Office/office: 4 entries", 4}};
  std::map<std::wstring, LRESULT> all = {
      {L"Phones: 0 entries", 0}, {L"Phones/contacts: 0 entries", 0}, {L"Phones/mail: 3 entries", 3}};
  all.insert(office.begin(), office.end());
  ASSERT_TRUE(Wait([&] { return Ask(tree_, TVM_GETCOUNT) == 6; }));
  EXPECT_EQ(Containers(), all);

  HWND dialog = OpenDialog();
  ASSERT_NE(dialog, nullptr);
  HWND services = GetDlgItem(dialog, 1155);
  std::set<std::wstring> lines;
  for (LRESULT i = 0; i < Ask(services, LB_GETCOUNT); ++i) {
    wchar_t line[100] = {};
    Ask(services, LB_GETTEXT, static_cast<WPARAM>(i), At(line));
    lines.insert(line);
  }
  EXPECT_EQ(lines, (decltype(lines){L"Office", L"Phones"}));
  std::wstring order;  // as the Tab key goes
  for (HWND at = GetNextDlgTabItem(dialog, services, FALSE); at != services && order.size() < 100;) {
    order += TextOf(at) + L" ";
    at = GetNextDlgTabItem(dialog, at, FALSE);
  }
  EXPECT_EQ(order, L"&Configure... &Remove Re&fresh OK Cancel ");
  Press(dialog, IDCANCEL);
  EXPECT_TRUE(Wait([&] { return !IsWindow(dialog); }));
  EXPECT_EQ(Containers(), all) << "cancelled: nothing has changed";

  dialog = OpenDialog();
  ASSERT_NE(dialog, nullptr);
  services = GetDlgItem(dialog, 1155);
  Ask(services, LB_SELECTSTRING, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(L"Phones"));
  Press(dialog, 1157);
  EXPECT_TRUE(Wait([&] { return Ask(services, LB_GETCOUNT) == 1; }));
  Press(dialog, IDOK);
  EXPECT_TRUE(Wait([&] { return !IsWindow(dialog) && Ask(tree_, TVM_GETCOUNT) == 3; }));
  EXPECT_EQ(Containers(), office);

  PostMessageW(main_, WM_CLOSE, 0, 0);
  DWORD code = 1;
  EXPECT_EQ(WaitForSingleObject(host_.hProcess, 20'000), WAIT_OBJECT_0) << "it ends by itself";
  EXPECT_TRUE(GetExitCodeProcess(host_.hProcess, &code) && code == 0) << code;
}

}  // namespace
