// The dialog from end to end: in a real window or on the terminal, over a service administration of the test's own.
#include "profiles/service_dialog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <list>
#include <memory>
#include <vector>

#include "frame/allocation_chain.h"
#include "platform/registry.h"
#include "platform/system_calls.h"
#include "props/prop_values.h"
#include "support/dialog_script.h"
#include "support/failure_sweep.h"
#include "support/hive.h"
#include "support/module_place.h"
#include "support/refusing_objects.h"
#include "support/values.h"
#include "tables/mem_table.h"

namespace uab {
namespace {

using String = std::basic_string<WCHAR>;

// A service, which is its own profile section: only what the dialog asks of it.
struct Service : RefusingProp<Refusing<IMAPIProp>> {
  Service(String name_, BYTE uid_, ULONG flags_ = 0, String file_name_ = {}, bool fails_ = false)
      : name(std::move(name_)), uid(uid_), flags(flags_), file_name(std::move(file_name_)), fails(fails_) {}

  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) noexcept override {
    const String& text = tags->aulPropTag[0] == PR_DISPLAY_NAME_W ? name : file_name;
    ChainPtr<SPropValue> made;
    if (Failed(AllocateInto(made, tags->cValues * sizeof(SPropValue)))) return E_OUTOFMEMORY;
    SPropValue value = text.empty() ? NotFoundValue(tags->aulPropTag[0]) : TextValue(tags->aulPropTag[0], text.c_str());
    if (Failed(CopyValue(*made.Get(), value, made.Get()))) return E_OUTOFMEMORY;
    *count = tags->cValues;
    *values = made.Detach();
    return text.empty() ? MAPI_W_ERRORS_RETURNED : S_OK;
  }
  HRESULT UAB_CALL SaveChanges(ULONG save_flags) noexcept override {
    EXPECT_EQ(save_flags, KEEP_OPEN_READWRITE);
    saved->push_back(uid);
    return E_FAIL;  // not looked at
  }

  String name;
  BYTE uid;
  ULONG flags;
  String file_name;  // what its library stores as PR_FILE_NAME when configured
  bool fails;        // its library does, and its removal
  bool removed = false;
  std::vector<BYTE>* saved = nullptr;
};

class FakeServiceAdmin final : public RefusingServiceAdmin {
 public:
  std::list<Service> services;
  std::vector<BYTE> saved;
  std::function<void(Service&, HWND)> library = [](Service&, HWND) {};

  HRESULT UAB_CALL GetMsgServiceTable(ULONG flags, IMAPITable** result) noexcept override {
    EXPECT_EQ(flags, MAPI_UNICODE);
    ComPtr<MemTable> table;
    if (HRESULT hr = MemTable::Create(table); Failed(hr)) return hr;
    for (const Service& service : services) {
      MAPIUID uid = {};
      uid.ab[15] = service.uid;
      SPropValue values[3] = {LongValue(PR_RESOURCE_FLAGS, static_cast<LONG>(service.flags)),
                              TextValue(PR_DISPLAY_NAME_W, service.name.c_str()),
                              BinaryValue(PR_SERVICE_UID, &uid, sizeof uid)};
      if (HRESULT hr = table->AddRow({0, 3, values}, table->row_count()); Failed(hr)) return hr;
    }
    *result = table.Detach();
    return S_OK;
  }
  HRESULT UAB_CALL DeleteMsgService(MAPIUID* uid) noexcept override {
    Service& service = At(uid);
    service.removed = !service.fails;
    return service.removed ? S_OK : MAPI_E_NOT_FOUND;
  }
  HRESULT UAB_CALL ConfigureMsgService(MAPIUID* uid, ULONG_PTR ui, ULONG flags, ULONG count, SPropValue* values,
                                       IMAPIProp** section) noexcept override {
    EXPECT_TRUE(flags == 0x80000002u && count == 0 && values == nullptr);
    if (*section == nullptr) OpenProfileSection(uid, nullptr, MAPI_MODIFY, section);
    library(At(uid), reinterpret_cast<HWND>(ui));
    return At(uid).fails ? E_FAIL : S_OK;
  }
  HRESULT UAB_CALL OpenProfileSection(MAPIUID* uid, const IID*, ULONG, IMAPIProp** section) noexcept override {
    Service& service = At(uid);
    service.saved = &saved;
    service.AddRef();
    *section = &service;
    return S_OK;
  }

 private:
  Service& At(const MAPIUID* uid) {
    return *std::find_if(services.begin(), services.end(),
                         [uid](const Service& each) { return each.uid == uid->ab[15]; });
  }
};

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
  const std::pair<int, const char*> controls[] = {{1, "@O"},    {2, "@X"},    {1155, "@L"},
                                                  {1156, "@A"}, {1157, "@R"}, {1158, "@C"}};
  for (auto [control, name] : controls) {
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

constexpr const WCHAR* kFileNameKey = UAB_TEXT("Software\\Ostrel\\QUILLDOC\\App\\UAB Profiles\\WAB");

class ServiceDialogTest : public testing::Test {
 protected:
  void SetUp() override {
    snapshots.clear();
    Sys().dialog_box_param = &ShowRecorded;
    hive_.WriteFile("KELUAB.ini", "[Services]\nA=1\nB=2\n");
  }
  void TearDown() override { Sys().dialog_box_param = &DialogBoxParamW; }

  template <typename... Fields>
  void Add(Fields... fields) {
    admin_.services.emplace_back(fields...);
  }

  INT_PTR Show(const std::string& commands) {
    DialogScript script(commands);
    return ShowServiceDialog(nullptr, 0, params_);
  }

  std::string FileName() const {
    UniqueKey key;
    WCHAR text[64] = {};
    DWORD size = sizeof text, type = 0;
    if (Failed(OpenKey(HKEY_CURRENT_USER, kFileNameKey, KEY_READ, &key))) return "-";
    EXPECT_EQ(
        RegQueryValueExW(key.Get(), UAB_TEXT("WAB File Name"), nullptr, &type, reinterpret_cast<BYTE*>(text), &size),
        0);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 2u * static_cast<DWORD>(lstrlenW(text) + 1));
    return std::string(text, text + lstrlenW(text));
  }

  TestHive hive_;
  ModulePlace place_{hive_.Folder()};
  FakeServiceAdmin admin_;
  const ServiceDialogParams params_ = {nullptr, &admin_, kServiceDialogTemplate, UAB_TEXT("App")};
};

TEST_F(ServiceDialogTest, ListAndButtonsFollowTheUser) {
  constexpr ULONG kFails = 0x80000000u;  // its library, and its removal
  struct {
    std::vector<ULONG> flags;  // of services A, B, ...
    std::string commands;
    std::vector<std::string> shown;
  } cases[] = {
      {{}, "press 1157\npress 1158\n", {"ARC", "ARC@R", "ARC@C"}},
      {{kFails}, "press 1158\npress 1157\n", {"*A ARC", "*A ARC@C", "*A ARC@R"}},
      {{0, 0x10000, 0x20000, 0x30000},
       "select 2\nselect 3\nselect 4\npress 1156\n",
       {"*A B C D ARC", "A *B C D A-C@L", "A B *C D AR-@L", "A B C *D A--@L", "A B C *D A--@A"}},
      {{0, 0, 0, 0},
       "select 4\npress 1157\nselect 2\npress 1157\npress 1157\npress 1157\n",
       {"*A B C D ARC", "A B C *D ARC@L", "A B *C ARC@R", "A *B C ARC@L", "A *C ARC@R", "*A ARC@R", "ARC@R"}},
      {{0, 0x10000}, "press 1157\n", {"*A B ARC", "*B A-C@C"}},
      {{0, 0x30000}, "press 1157\n", {"*A B ARC", "*B A--@O"}},
      {{0, 0}, "press 1158\ndouble 1\n", {"*A B ARC", "B *A ARC@C", "*B A ARC@L", "A *B ARC@L"}},
      {{0x20000}, "double 1\n", {"*A AR-", "*A AR-@L", "*A AR-@L"}},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.commands);
    snapshots.clear();
    admin_.services.clear();
    BYTE number = 0;
    for (ULONG flags : each.flags)
      Add(String(1, static_cast<WCHAR>('A' + number)), static_cast<BYTE>(number + 1), flags & ~kFails, String(),
          flags == kFails),
          ++number;
    EXPECT_EQ(Show(each.commands), IDCANCEL);
    EXPECT_EQ(snapshots, each.shown);
  }
  EXPECT_EQ(FileName(), "-");
  for (const char* file : {"[Services]\nA=1\n", "[Other]\nA=1\n"}) {
    hive_.WriteFile("KELUAB.ini", file);
    Show("");
    EXPECT_EQ(snapshots.back(), "*A -R-") << "nothing to choose from";
  }
}

TEST_F(ServiceDialogTest, ConfirmingSavesEachConfiguredService) {
  struct {
    const char* commands;
    INT_PTR result;
    std::vector<BYTE> saved;
    const char* file_name;
  } cases[] = {
      {"ok\n", IDOK, {}, "-"},
      {"press 1158\n", IDCANCEL, {}, "-"},
      {"select 3\npress 1158\nok\n", IDOK, {}, "-"},                                            // its library fails
      {"select 4\npress 1158\nok\n", IDOK, {4}, "-"},                                           // has no file name
      {"press 1158\nok\n", IDOK, {1}, "a.wab"},                                                 // A moves to the end
      {"press 1158\nselect 1\npress 1158\nok\n", IDOK, {1, 2}, "b.wab"},                        // A, B
      {"press 1158\nselect 1\npress 1158\nselect 3\npress 1158\nok\n", IDOK, {2, 1}, "a.wab"},  // A, B, A
      {"press 1158\nselect 3\npress 1158\nok\n", IDOK, {1, 4}, "a.wab"},                        // A, D
      {"press 1158\npress 1157\nok\n", IDOK, {}, "-"},  // configured, then removed
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.commands);
    admin_.services.clear();
    admin_.saved.clear();
    Add(UAB_TEXT("A"), 1, 0, UAB_TEXT("a.wab"));
    Add(UAB_TEXT("B"), 2, 0, UAB_TEXT("b.wab"));
    Add(UAB_TEXT("C"), 3, 0, UAB_TEXT("c.wab"), true);
    Add(UAB_TEXT("D"), 4);
    EXPECT_EQ(Show(each.commands), each.result);
    EXPECT_EQ(admin_.saved, each.saved);
    EXPECT_EQ(FileName(), each.file_name);
    RegDeleteKeyW(HKEY_CURRENT_USER, kFileNameKey);
  }
}

// A library that shows a dialog of its own lets messages reach this one.
TEST_F(ServiceDialogTest, CommandsWaitForTheLibrary) {
  Add(UAB_TEXT("A"), 1, 0, UAB_TEXT("a.wab"));
  admin_.library = [](Service& service, HWND window) {
    EXPECT_EQ(ServiceDialogProcedure(window, WM_COMMAND, MAKEWPARAM(1157, 0), 0), TRUE);
    EXPECT_EQ(ServiceDialogProcedure(window, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0), TRUE);
    service.name = UAB_TEXT("New");
  };
  EXPECT_EQ(Show("press 1158\nok\n"), IDOK);
  EXPECT_EQ(snapshots.back(), "*New ARC@C");
  EXPECT_EQ(admin_.saved, (std::vector<BYTE>{1}));
}

TEST_F(ServiceDialogTest, NothingIsLeftHoweverTheWindowGoes) {
  Sys().dialog_box_param = &DialogBoxParamW;
  Add(UAB_TEXT("A"), 1, 0, UAB_TEXT("a.wab"));
  Add(UAB_TEXT("B"), 2, 0, UAB_TEXT("b.wab"));
  for (int way = 0; way < 4; ++way) {
    HeapWatch watch;
    admin_.library = [way](Service&, HWND window) {
      if (way == 2) ServiceDialogProcedure(window, WM_DESTROY, 0, 0);  // while the library runs
      if (way == 1 || way == 2) EndDialog(window, 7);                  // without a button
    };
    EXPECT_EQ(Show(way == 3 ? "press 1158\nok\n" : "press 1158\n"), way == 0 ? IDCANCEL : way == 3 ? IDOK : 7);
    std::vector<BYTE>().swap(admin_.saved);
    EXPECT_EQ(watch.live(), 0u) << way << "\n" << watch.Describe();
    for (const Service& service : admin_.services) EXPECT_EQ(service.references, 0u) << way;
  }
}

TEST_F(ServiceDialogTest, RunsOutOfMemoryWithoutHarm) {
  Sys().dialog_box_param = &DialogBoxParamW;
  Add(UAB_TEXT("A"), 1, 0, UAB_TEXT("a.wab"));
  admin_.saved.reserve(8);
  auto prepare = [] { return std::make_unique<DialogScript>("press 1158\nok\n"); };
  auto act = [this](auto&) { return ShowServiceDialog(nullptr, 0, params_) == IDOK ? S_OK : E_OUTOFMEMORY; };
  auto check = [this](auto&, HRESULT) { admin_.saved.clear(); };  // the sweep itself looks for what is left
  ForEachAllocationFailure(prepare, act, check, {.release_may_allocate = true});
}

}  // namespace
}  // namespace uab
