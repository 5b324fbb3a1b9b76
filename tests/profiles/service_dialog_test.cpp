// The dialog from end to end: in a real window or on the terminal, over a service administration of the test's own.
#include "profiles/service_dialog.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "keluab/tags.h"
#include "platform/registry.h"
#include "platform/system_calls.h"
#include "support/dialog_script.h"
#include "support/failure_sweep.h"
#include "support/hive.h"
#include "support/module_place.h"
#include "tables/mem_table.h"

namespace uab {
namespace {

using String = std::basic_string<WCHAR>;

struct Service {
  String name;
  BYTE uid;
  ULONG flags = 0;
  String file_name = {};  // what its library stores as PR_FILE_NAME when configured
  bool fails = false;     // its library does
};

MAPIUID Uid(BYTE number) {
  MAPIUID uid{};
  uid.ab[15] = number;
  return uid;
}

// A profile section of one service; only what the dialog asks of it.
class FakeSection final : public ComObject<FakeSection, IMAPIProp, &IID_IMAPIProp> {
 public:
  FakeSection(Service* service, std::vector<BYTE>* saved) : service_(service), saved_(saved) {}

  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) noexcept override {
    const String& text = tags->aulPropTag[0] == PR_DISPLAY_NAME_W ? service_->name : service_->file_name;
    ChainPtr<SPropValue> made;
    WCHAR* copy = nullptr;
    if (Failed(AllocateInto(made, tags->cValues * sizeof(SPropValue)))) return E_OUTOFMEMORY;
    if (Failed(AllocateLinkedInto(copy, (text.size() + 1) * sizeof(WCHAR), made.Get()))) return E_OUTOFMEMORY;
    text.copy(copy, text.size());
    bool missing = text.empty();
    made->ulPropTag = missing ? WithPropType(tags->aulPropTag[0], PT_ERROR) : tags->aulPropTag[0];
    if (!missing) made->Value.lpszW = copy;
    *count = tags->cValues;
    *values = made.Detach();
    return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
  }
  HRESULT UAB_CALL SaveChanges(ULONG flags) noexcept override {
    EXPECT_EQ(flags, KEEP_OPEN_READWRITE);
    saved_->push_back(service_->uid);
    return E_FAIL;  // not looked at
  }

  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return E_FAIL; }
  HRESULT UAB_CALL GetPropList(ULONG, SPropTagArray**) noexcept override { return E_FAIL; }
  HRESULT UAB_CALL OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**) noexcept override { return E_FAIL; }
  HRESULT UAB_CALL SetProps(ULONG, SPropValue*, SPropProblemArray**) noexcept override { return E_FAIL; }
  HRESULT UAB_CALL DeleteProps(SPropTagArray*, SPropProblemArray**) noexcept override { return E_FAIL; }
  HRESULT UAB_CALL CopyTo(ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                          SPropProblemArray**) noexcept override {
    return E_FAIL;
  }
  HRESULT UAB_CALL CopyProps(SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                             SPropProblemArray**) noexcept override {
    return E_FAIL;
  }
  HRESULT UAB_CALL GetNamesFromIDs(SPropTagArray**, GUID*, ULONG, ULONG*, MAPINAMEID***) noexcept override {
    return E_FAIL;
  }
  HRESULT UAB_CALL GetIDsFromNames(ULONG, MAPINAMEID**, ULONG, SPropTagArray**) noexcept override { return E_FAIL; }

 private:
  Service* const service_;
  std::vector<BYTE>* const saved_;
};

class FakeServiceAdmin final : public ComObject<FakeServiceAdmin, IMsgServiceAdmin, &IID_UABMsgServiceAdmin> {
 public:
  std::vector<std::unique_ptr<Service>> services;
  std::vector<BYTE> saved;
  std::function<void(Service&, HWND)> library = [](Service&, HWND) {};

  HRESULT UAB_CALL GetMsgServiceTable(ULONG flags, IMAPITable** result) noexcept override {
    EXPECT_EQ(flags, MAPI_UNICODE);
    ComPtr<MemTable> table;
    if (HRESULT hr = MemTable::Create(table); Failed(hr)) return hr;
    for (const auto& service : services) {
      MAPIUID uid = Uid(service->uid);
      SPropValue values[3] = {{PR_RESOURCE_FLAGS, 0, {}}, {PR_DISPLAY_NAME_W, 0, {}}, {PR_SERVICE_UID, 0, {}}};
      values[0].Value.ul = service->flags;
      values[1].Value.lpszW = service->name.data();
      values[2].Value.bin = {sizeof uid, uid.ab};
      if (HRESULT hr = table->AddRow({0, 3, values}, table->row_count()); Failed(hr)) return hr;
    }
    *result = table.Detach();
    return S_OK;
  }
  HRESULT UAB_CALL DeleteMsgService(MAPIUID* uid) noexcept override {
    auto erased = std::erase_if(services, [&](const auto& each) { return each->uid == uid->ab[15] && !each->fails; });
    return erased == 1 ? S_OK : MAPI_E_NOT_FOUND;
  }
  HRESULT UAB_CALL ConfigureMsgService(MAPIUID* uid, ULONG_PTR ui, ULONG flags, ULONG count, SPropValue* values,
                                       IMAPIProp** section) noexcept override {
    EXPECT_TRUE(flags == 0x80000002u && count == 0 && values == nullptr);
    if (*section == nullptr && Failed(OpenProfileSection(uid, nullptr, MAPI_MODIFY, section))) return E_OUTOFMEMORY;
    for (const auto& service : services) {
      if (service->uid != uid->ab[15]) continue;
      library(*service, reinterpret_cast<HWND>(ui));
      return service->fails ? E_FAIL : S_OK;
    }
    return MAPI_E_NOT_FOUND;
  }
  HRESULT UAB_CALL OpenProfileSection(MAPIUID* uid, const IID*, ULONG, IMAPIProp** section) noexcept override {
    for (const auto& service : services) {
      if (service->uid == uid->ab[15]) *section = new (std::nothrow) FakeSection(service.get(), &saved);
    }
    return *section != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return E_FAIL; }
  HRESULT UAB_CALL CreateMsgService(WCHAR*, WCHAR*, WCHAR*, ULONG, ULONG_PTR, ULONG) noexcept override {
    return E_FAIL;
  }
};

// What the window shows: lines ("*": selected), buttons ("-": disabled) and where the focus is.
std::string Snapshot(HWND window) {
  std::string text;
  LRESULT selected = SendDlgItemMessageW(window, 1155, LB_GETCURSEL, 0, 0);
  LRESULT count = SendDlgItemMessageW(window, 1155, LB_GETCOUNT, 0, 0);
  for (LRESULT line = 0; line < count; ++line) {
    WCHAR name[32];
    LRESULT chars =
        SendDlgItemMessageW(window, 1155, LB_GETTEXT, static_cast<WPARAM>(line), reinterpret_cast<LPARAM>(name));
    text.append(line == selected ? "*" : "").append(name, name + chars).append(" ");
  }
  for (int button : {1156, 1157, 1158}) {
    BOOL was_disabled = EnableWindow(GetDlgItem(window, button), TRUE);
    if (was_disabled) EnableWindow(GetDlgItem(window, button), FALSE);
    text.append("| ").append(std::to_string(button)).append(was_disabled ? "- " : " ");
  }
  for (int control : {1, 2, 1155, 1156, 1157, 1158}) {
    if (GetFocus() != nullptr && GetFocus() == GetDlgItem(window, control))
      text.append("@").append(std::to_string(control));
  }
  return text;
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

class ServiceDialogTest : public testing::Test {
 protected:
  void SetUp() override {
    snapshots.clear();
    Sys().dialog_box_param = &ShowRecorded;
    hive_.WriteFile("KELUAB.ini", "[Services]\nA=1\nB=2\n");
  }
  void TearDown() override { Sys().dialog_box_param = &DialogBoxParamW; }

  void Add(Service service) { admin_->services.push_back(std::make_unique<Service>(std::move(service))); }

  INT_PTR Show(const std::string& commands) {
    DialogScript script(commands);
    ServiceDialogParams params = {nullptr, admin_.Get(), kServiceDialogTemplate, UAB_TEXT("App")};
    return ShowServiceDialog(nullptr, 0, params);
  }

  std::string FileName() const {
    UniqueKey key;
    if (Failed(OpenKey(HKEY_CURRENT_USER, UAB_TEXT("Software\\Ostrel\\QUILLDOC\\App\\UAB Profiles\\WAB"), KEY_READ,
                       &key))) {
      return "-";
    }
    WCHAR text[64] = {};
    DWORD size = sizeof text, type = 0;
    EXPECT_EQ(
        RegQueryValueExW(key.Get(), UAB_TEXT("WAB File Name"), nullptr, &type, reinterpret_cast<BYTE*>(text), &size),
        0);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 2u * static_cast<DWORD>(lstrlenW(text) + 1));
    return std::string(text, text + lstrlenW(text));
  }

  TestHive hive_;
  ModulePlace place_{hive_.Folder()};
  ComPtr<FakeServiceAdmin> admin_ = ComPtr<FakeServiceAdmin>::Attach(new FakeServiceAdmin);
};

TEST_F(ServiceDialogTest, ListAndButtonsFollowTheUser) {
  struct {
    std::vector<ULONG> flags;  // of services A, B, ...
    std::string commands;
    std::vector<std::string> shown;
  } cases[] = {
      {{},
       "press 1157\npress 1158\n",
       {"| 1156 | 1157 | 1158 ", "| 1156 | 1157 | 1158 @1157", "| 1156 | 1157 | 1158 @1158"}},
      {{0, 0x10000, 0x20000, 0x30000},
       "select 2\nselect 3\nselect 4\npress 1156\n",
       {"*A B C D | 1156 | 1157 | 1158 ", "A *B C D | 1156 | 1157- | 1158 @1155",
        "A B *C D | 1156 | 1157 | 1158- @1155", "A B C *D | 1156 | 1157- | 1158- @1155",
        "A B C *D | 1156 | 1157- | 1158- @1156"}},
      {{0, 0, 0},
       "select 3\npress 1157\nselect 1\npress 1157\npress 1157\n",
       {"*A B C | 1156 | 1157 | 1158 ", "A B *C | 1156 | 1157 | 1158 @1155", "A *B | 1156 | 1157 | 1158 @1157",
        "*A B | 1156 | 1157 | 1158 @1155", "*B | 1156 | 1157 | 1158 @1157", "| 1156 | 1157 | 1158 @1157"}},
      {{0, 0x10000}, "press 1157\n", {"*A B | 1156 | 1157 | 1158 ", "*B | 1156 | 1157- | 1158 @1158"}},
      {{0, 0x30000}, "press 1157\n", {"*A B | 1156 | 1157 | 1158 ", "*B | 1156 | 1157- | 1158- @1"}},
      {{0, 0},
       "press 1158\ndouble 1\n",
       {"*A B | 1156 | 1157 | 1158 ", "B *A | 1156 | 1157 | 1158 @1158", "*B A | 1156 | 1157 | 1158 @1155",
        "A *B | 1156 | 1157 | 1158 @1155"}},
      {{0x20000},
       "double 1\n",
       {"*A | 1156 | 1157 | 1158- ", "*A | 1156 | 1157 | 1158- @1155", "*A | 1156 | 1157 | 1158- @1155"}},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.commands);
    snapshots.clear();
    admin_->services.clear();
    BYTE number = 0;
    for (ULONG flags : each.flags)
      Add({String(1, static_cast<WCHAR>('A' + number)), static_cast<BYTE>(number + 1), flags}), ++number;
    EXPECT_EQ(Show(each.commands), IDCANCEL);
    EXPECT_EQ(snapshots, each.shown);
  }
  EXPECT_EQ(FileName(), "-");
}

TEST_F(ServiceDialogTest, AddButtonNeedsAChoice) {
  for (const char* file : {"[Services]\nA=1\n", "[Other]\nA=1\n"}) {
    snapshots.clear();
    hive_.WriteFile("KELUAB.ini", file);
    Show("");
    EXPECT_EQ(snapshots, (std::vector<std::string>{"| 1156- | 1157 | 1158 "})) << file;
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
    admin_->services.clear();
    admin_->saved.clear();
    Add({UAB_TEXT("A"), 1, 0, UAB_TEXT("a.wab")});
    Add({UAB_TEXT("B"), 2, 0, UAB_TEXT("b.wab")});
    Add({UAB_TEXT("C"), 3, 0, UAB_TEXT("c.wab"), true});
    Add({UAB_TEXT("D"), 4});
    EXPECT_EQ(Show(each.commands), each.result);
    EXPECT_EQ(admin_->saved, each.saved);
    EXPECT_EQ(FileName(), each.file_name);
    RegDeleteKeyW(HKEY_CURRENT_USER, UAB_TEXT("Software\\Ostrel\\QUILLDOC\\App\\UAB Profiles\\WAB"));
  }
}

TEST_F(ServiceDialogTest, FailuresLeaveTheListAlone) {
  Add({UAB_TEXT("A"), 1, 0, {}, true});
  EXPECT_EQ(Show("press 1158\npress 1157\n"), IDCANCEL);
  for (const std::string& shown : snapshots) EXPECT_TRUE(shown.starts_with("*A | ")) << shown;
  EXPECT_EQ(snapshots.size(), 3u);
  Sys().dialog_box_param = &DialogBoxParamW;
  ServiceDialogParams params = {nullptr, admin_.Get(), kServiceDialogTemplate, UAB_TEXT("App")};
  EXPECT_EQ(DialogBoxParamW(nullptr, MAKEINTRESOURCEW(254), nullptr, &ServiceDialogProcedure,
                            reinterpret_cast<LPARAM>(&params)),
            -1);
}

// A library that shows a dialog of its own lets messages reach this one.
TEST_F(ServiceDialogTest, CommandsWaitForTheLibrary) {
  Add({UAB_TEXT("A"), 1, 0, UAB_TEXT("a.wab")});
  admin_->library = [](Service& service, HWND window) {
    EXPECT_EQ(ServiceDialogProcedure(window, WM_COMMAND, MAKEWPARAM(1157, 0), 0), TRUE);
    EXPECT_EQ(ServiceDialogProcedure(window, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0), TRUE);
    service.name = UAB_TEXT("New");
  };
  EXPECT_EQ(Show("press 1158\nok\n"), IDOK);
  EXPECT_EQ(snapshots.back(), "*New | 1156 | 1157 | 1158 @1158");
  EXPECT_EQ(admin_->saved, (std::vector<BYTE>{1}));
}

TEST_F(ServiceDialogTest, NothingIsLeftHoweverTheWindowGoes) {
  Sys().dialog_box_param = &DialogBoxParamW;
  Add({UAB_TEXT("A"), 1, 0, UAB_TEXT("a.wab")});
  Add({UAB_TEXT("B"), 2, 0, UAB_TEXT("b.wab")});
  for (int way = 0; way < 4; ++way) {
    HeapWatch watch;
    admin_->library = [way](Service&, HWND window) {
      if (way == 2) ServiceDialogProcedure(window, WM_DESTROY, 0, 0);  // while the library runs
      if (way == 1 || way == 2) EndDialog(window, 7);                  // without a button
    };
    EXPECT_EQ(Show(way == 3 ? "press 1158\nok\n" : "press 1158\n"), way == 0 ? IDCANCEL : way == 3 ? IDOK : 7);
    std::vector<BYTE>().swap(admin_->saved);
    EXPECT_EQ(watch.live(), 0u) << way << "\n" << watch.Describe();
  }
}

TEST_F(ServiceDialogTest, RunsOutOfMemoryWithoutHarm) {
  Sys().dialog_box_param = &DialogBoxParamW;
  Add({UAB_TEXT("A"), 1, 0, UAB_TEXT("a.wab")});
  admin_->saved.reserve(8);
  auto prepare = [] { return std::make_unique<DialogScript>("press 1158\nok\n"); };
  auto act = [this](auto&) {
    ServiceDialogParams params = {nullptr, admin_.Get(), kServiceDialogTemplate, UAB_TEXT("App")};
    return ShowServiceDialog(nullptr, 0, params) == IDOK ? S_OK : E_OUTOFMEMORY;
  };
  auto check = [this](auto&, HRESULT) { admin_->saved.clear(); };  // the sweep itself looks for what is left
  ForEachAllocationFailure(prepare, act, check, {.release_may_allocate = true});
}

}  // namespace
}  // namespace uab
