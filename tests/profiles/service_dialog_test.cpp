// The dialog from end to end: in a real window or on the terminal, over the services of a real profile.
#include "profiles/service_dialog.h"

#include <functional>

#include "profiles/profile_world.h"
#include "support/dialog_script.h"
#include "support/failure_sweep.h"

namespace uab {
namespace {

// What the window shows: lines ("*": selected), the buttons Add, Remove and Configure ("-": disabled), and where the
// focus is (List, Ok, Cancel X, or a button).
std::string Snapshot(HWND window) {
  auto list = [window](UINT message, LRESULT line = 0, const WCHAR* text = nullptr) {
    return SendDlgItemMessageW(window, 1155, message, static_cast<WPARAM>(line), reinterpret_cast<LPARAM>(text));
  };
  std::string shown;
  for (LRESULT line = 0; line < list(LB_GETCOUNT); ++line) {
    WCHAR name[32];
    LRESULT chars = list(LB_GETTEXT, line, name);
    shown.append(line == list(LB_GETCURSEL) ? "*" : "").append(name, name + chars).append(" ");
  }
  for (int button : {1156, 1157, 1158}) {
    BOOL was_disabled = EnableWindow(GetDlgItem(window, button), TRUE);
    if (was_disabled) EnableWindow(GetDlgItem(window, button), FALSE);
    shown += was_disabled ? '-' : "ARC"[button - 1156];
  }
  for (auto [control, name] : {std::pair(1, "@O"), {2, "@X"}, {1155, "@L"}, {1156, "@A"}, {1157, "@R"}, {1158, "@C"}}) {
    if (GetFocus() != nullptr && GetFocus() == GetDlgItem(window, control)) shown += name;
  }
  return shown;
}

std::vector<std::string> snapshots;

// The dialog procedure, with a snapshot behind everything that the user does.
INT_PTR UAB_CALL RecordedProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  INT_PTR handled = ServiceDialogProcedure(window, message, wparam, lparam);
  bool command = message == WM_COMMAND && LOWORD(wparam) >= 1155 && HIWORD(wparam) <= LBN_DBLCLK;
  if (message == WM_INITDIALOG || command) snapshots.push_back(Snapshot(window));
  return handled;
}

INT_PTR ShowRecorded(HINSTANCE module, const WCHAR* name, HWND parent, DLGPROC procedure, LPARAM parameter) {
  EXPECT_EQ(procedure, &ServiceDialogProcedure);
  return DialogBoxParamW(module, name, parent, &RecordedProcedure, parameter);
}

std::function<void(const EntryCall&)> during;  // a configuration

// A service's library: that of "C" fails, that of "D" sets no file name.
HRESULT Configure(const EntryCall& call) {
  UnwatchedScope unwatched;
  if (call.context != MSG_SERVICE_CONFIGURE) return S_OK;
  const Text name = PropText(*call.section, PR_DISPLAY_NAME_W), file = name + UAB_TEXT(".wab");
  SPropValue values[] = {TextValue(PR_COMMENT_W, UAB_TEXT("configured")), TextValue(UAB_PR_FILE_NAME_W, file.c_str())};
  if (during) during(call);
  return name == UAB_TEXT("C") ? E_FAIL : call.section->SetProps(name == UAB_TEXT("D") ? 1 : 2, values, nullptr);
}

class ServiceDialogTest : public ProfileWorld {
 protected:
  void SetUp() override { Sys().dialog_box_param = &ShowRecorded; }
  void TearDown() override {
    Sys().dialog_box_param = &DialogBoxParamW;
    during = nullptr;
  }

  // A profile with services "A", "B" ... that have these flags.
  void Make(const std::vector<ULONG>& flags) {
    Empty();
    ASSERT_EQ(Create(kA), S_OK);
    script.behave = &Configure;
    auto services = Admin(kA);
    WCHAR name[] = UAB_TEXT("A");
    for (ULONG each : flags) {
      EXPECT_EQ(services->CreateMsgService(Mutable(UAB_TEXT("First")), name, nullptr, each, 0, MAPI_UNICODE), S_OK);
      ++name[0];
    }
  }
  INT_PTR Show(const std::string& commands) {
    snapshots.clear();
    DialogScript user(commands);
    return Show(*Admin(kA));
  }
  static INT_PTR Show(IMsgServiceAdmin& services) {
    return ShowServiceDialog(nullptr, 0, {&services, kServiceDialogTemplate, UAB_TEXT("App")});
  }
  // The services whose configuration has been saved, in their order.
  static std::string Saved() {
    std::string names;
    const Services services = ReadProfiles()[kA];
    for (const auto& [uid, values] : services) {
      if (values.count(UAB_TEXT("805568543")) != 0) names += static_cast<char>(values.at(UAB_TEXT("805371935"))[32]);
    }
    return names;
  }
  static std::string FileName() {
    UniqueKey key;
    if (Failed(
            OpenKey(HKEY_CURRENT_USER, UAB_TEXT("Software\\Ostrel\\QUILLDOC\\App\\UAB Profiles\\WAB"), KEY_READ, &key)))
      return "-";
    const Data data = ReadBytes(key.Get(), UAB_TEXT("WAB File Name"));
    const Text text(reinterpret_cast<const WCHAR*>(data.data()));
    EXPECT_EQ(data.size(), 2 * (text.size() + 1));
    return std::string(text.begin(), text.end());
  }
};

TEST_F(ServiceDialogTest, ListAndButtonsFollowTheUser) {
  struct {
    std::vector<ULONG> flags;  // of services A, B, ...
    std::string commands;
    std::vector<std::string> shown;
  } cases[] = {
      {{}, "press 1157\npress 1158\n", {"ARC", "ARC@R", "ARC@C"}},
      {{0, 0x10000, 0x20000, 0x30000},
       "select 2\nselect 3\nselect 4\npress 1156\n",
       {"*A B C D ARC", "A *B C D A-C@L", "A B *C D AR-@L", "A B C *D A--@L", "A B C *D A--@A"}},
      {{0, 0, 0, 0},
       "select 4\npress 1157\nselect 2\npress 1157\npress 1157\npress 1157\n",
       {"*A B C D ARC", "A B C *D ARC@L", "A B *C ARC@R", "A *B C ARC@L", "A *C ARC@R", "*A ARC@R", "ARC@R"}},
      {{0x20000, 0x10000}, "press 1157\n", {"*A B AR-", "*B A-C@C"}},
      {{0x20000, 0x30000}, "press 1157\n", {"*A B AR-", "*B A--@O"}},
      {{0, 0}, "press 1158\ndouble 1\n", {"*A B ARC", "B *A ARC@C", "*B A ARC@L", "A *B ARC@L"}},
      {{0, 0, 0}, "select 3\npress 1158\n", {"*A B C ARC", "A B *C ARC@L", "A B *C ARC@C"}},  // its library fails
      {{0x20000}, "double 1\n", {"*A AR-", "*A AR-@L", "*A AR-@L"}},
  };
  for (const auto& each : cases) {
    Make(each.flags);
    EXPECT_EQ(Show(each.commands), IDCANCEL);
    EXPECT_EQ(snapshots, each.shown) << each.commands;
  }
  EXPECT_EQ(Saved() + FileName(), "-");
  for (const char* file : {"[Services]\nA=1\n", "[Other]\nA=1\n"}) {
    hive_.WriteFile("KELUAB.ini", file);
    Show("");
    EXPECT_EQ(snapshots.back(), "*A -R-") << "nothing to choose from";
  }
}

TEST_F(ServiceDialogTest, ConfirmingSavesEachConfiguredService) {
  const struct {
    const char *commands, *saved, *file_name;
  } cases[] = {
      {"ok\n", "", "-"},
      {"select 3\npress 1158\nok\n", "", "-"},   // its library fails
      {"select 4\npress 1158\nok\n", "D", "-"},  // has no file name
      {"press 1158\nok\n", "A", "A.wab"},        // A moves to the end
      {"press 1158\nselect 1\npress 1158\nok\n", "AB", "B.wab"},
      {"press 1158\nselect 1\npress 1158\nselect 3\npress 1158\nok\n", "AB", "A.wab"},  // A, B, A
      {"press 1158\nselect 3\npress 1158\nok\n", "AD", "A.wab"},
      {"press 1158\npress 1157\nok\n", "", "-"},  // configured, then removed
  };
  for (const auto& each : cases) {
    Make({0, 0, 0, 0});
    EXPECT_EQ(Show(each.commands), IDOK);
    EXPECT_EQ(Saved(), each.saved) << each.commands;
    EXPECT_EQ(FileName(), each.file_name) << each.commands;
    RegDeleteKeyW(HKEY_CURRENT_USER, UAB_TEXT("Software\\Ostrel\\QUILLDOC\\App\\UAB Profiles\\WAB"));
  }
}

// A library that shows a dialog of its own lets messages reach this one.
TEST_F(ServiceDialogTest, CommandsWaitForTheLibrary) {
  Make({0});
  during = [&](const EntryCall& call) {
    const HWND window = reinterpret_cast<HWND>(call.ui);
    EXPECT_EQ(ServiceDialogProcedure(window, WM_COMMAND, MAKEWPARAM(1157, 0), 0), TRUE);
    EXPECT_EQ(ServiceDialogProcedure(window, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0), TRUE);
    SPropValue name = TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("New"));
    call.section->SetProps(1, &name, nullptr);
  };
  EXPECT_EQ(Show("press 1158\nok\n"), IDOK);
  EXPECT_EQ(snapshots.back(), "*New ARC@C");
  EXPECT_EQ(Saved(), "N");
  during = [&](const EntryCall&) { EXPECT_EQ(admin_->DeleteProfile(kA, MAPI_UNICODE), S_OK); };
  Show("press 1158\npress 1157\n");
  EXPECT_EQ(snapshots.back(), "*New ARC@R") << "what can't be removed stays in the list";
}

TEST_F(ServiceDialogTest, NothingIsLeftHoweverTheWindowGoes) {
  Sys().dialog_box_param = &DialogBoxParamW;
  Make({0, 0});
  for (int way = 0; way < 4; ++way) {
    during = [way](const EntryCall& call) {
      const HWND window = reinterpret_cast<HWND>(call.ui);
      if (way == 2) ServiceDialogProcedure(window, WM_DESTROY, 0, 0);  // while the library runs
      if (way == 1 || way == 2) EndDialog(window, 7);                  // without a button
    };
    HeapWatch watch;
    EXPECT_EQ(Show(way == 3 ? "press 1158\nok\n" : "press 1158\n"), way == 0 ? IDCANCEL : way == 3 ? IDOK : 7);
    EXPECT_EQ(watch.live(), 0u) << way << "\n" << watch.Describe();
  }
}

TEST_F(ServiceDialogTest, RunsOutOfMemoryWithoutHarm) {
  Sys().dialog_box_param = &DialogBoxParamW;
  Make({0});
  ForEachAllocationFailure([&] { return std::pair(Admin(kA), std::make_unique<DialogScript>("press 1158\nok\n")); },
                           [](auto& state) { return Show(*state.first) == IDOK ? S_OK : E_OUTOFMEMORY; },
                           [](auto&, HRESULT) {},  // the sweep itself looks for what is left
                           {.release_may_allocate = true});
}

}  // namespace
}  // namespace uab
