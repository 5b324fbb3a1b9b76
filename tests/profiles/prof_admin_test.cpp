#include "profiles/prof_admin.h"

#include <future>

#include "platform/system_calls.h"
#include "platform/wait_scope.h"
#include "profiles/profile_world.h"
#include "support/dialog_script.h"

namespace uab {
namespace {

using List = std::vector<Text>;

class ProfAdminTest : public ProfileWorld {
 protected:
  HRESULT Delete(const WCHAR* name) { return admin_->DeleteProfile(Mutable(name), MAPI_UNICODE); }
  HRESULT Configure(const WCHAR* name) { return admin_->ConfigureProfile(Mutable(name), 0, MAPI_UNICODE); }
  HRESULT Copy(const WCHAR* from, const WCHAR* to) {
    return admin_->CopyProfile(Mutable(from), Mutable(to), MAPI_UNICODE);
  }
  HRESULT Rename(const WCHAR* from, const WCHAR* to) {
    return admin_->RenameProfile(Mutable(from), Mutable(to), MAPI_UNICODE);
  }
  HRESULT SetDefault(const WCHAR* name) { return admin_->SetDefaultProfile(Mutable(name), MAPI_UNICODE); }
};

TEST_F(ProfAdminTest, RefusesWhatNoProfileCanBeCalled) {
  const Text longest(64, 'x'), longer(65, 'x');
  const std::pair<const WCHAR*, HRESULT> names[] = {
      {nullptr, E_INVALIDARG},        {UAB_TEXT(""), E_INVALIDARG}, {UAB_TEXT("a\\b"), E_INVALIDARG},
      {longer.c_str(), E_INVALIDARG}, {longest.c_str(), S_OK},      {longest.c_str(), E_ACCESSDENIED}};
  for (auto [name, hr] : names) EXPECT_EQ(Create(name), hr);
  for (const WCHAR* name : {static_cast<const WCHAR*>(nullptr), longer.c_str(), UAB_TEXT("a\\b")}) {
    EXPECT_EQ(Copy(longest.c_str(), name), E_INVALIDARG);
    EXPECT_EQ(Rename(longest.c_str(), name), E_INVALIDARG);
    EXPECT_EQ(Delete(name), MAPI_E_NOT_FOUND);
  }
  EXPECT_EQ(Table(), List{longest});

  // The path to the key has 128 characters at most: 25 + key + 13 + 1 + name.
  const Text app_key(128 - 39 - 10, 'k');
  ComPtr<ProfAdmin> other;
  ASSERT_EQ(ProfAdmin::Create(app_key.c_str(), nullptr, other), S_OK);
  EXPECT_EQ(other->CreateProfile(Mutable(UAB_TEXT("ten chars.")), 0, MAPI_UNICODE), S_OK);
  EXPECT_EQ(other->CreateProfile(Mutable(UAB_TEXT("ten chars..")), 0, MAPI_UNICODE), E_INVALIDARG);
  ASSERT_EQ(ProfAdmin::Create(UAB_TEXT(""), nullptr, other), S_OK);
  EXPECT_EQ(other->CreateProfile(kA, 0, MAPI_UNICODE), E_INVALIDARG);
}

TEST_F(ProfAdminTest, NamesThatDifferInCaseAreTakenButNotFound) {
  const WCHAR *name = UAB_TEXT("F\u00E4x"), *capitals = UAB_TEXT("F\u00C4X");
  ASSERT_EQ(Create(name), S_OK);
  ASSERT_EQ(Create(kB, MAPI_DEFAULT_SERVICES), S_OK);
  const Profiles before = ReadProfiles();
  EXPECT_EQ(Create(capitals), E_ACCESSDENIED);
  EXPECT_EQ(Copy(kB, capitals), E_ACCESSDENIED);
  EXPECT_EQ(Rename(kB, capitals), E_ACCESSDENIED);
  EXPECT_EQ(Rename(name, capitals), E_ACCESSDENIED);
  EXPECT_EQ(Rename(capitals, kC), E_FAIL);
  EXPECT_EQ(Delete(capitals), MAPI_E_NOT_FOUND);
  EXPECT_EQ(SetDefault(capitals), MAPI_E_NOT_FOUND);
  EXPECT_EQ(Configure(capitals), MAPI_E_NOT_FOUND);
  EXPECT_EQ(ReadProfiles(), before);
}

TEST_F(ProfAdminTest, DefaultServicesGetIdentifiersOfTheirOwn) {
  ASSERT_EQ(Create(kA, MAPI_DEFAULT_SERVICES), S_OK);
  ASSERT_EQ(Create(kB, MAPI_DEFAULT_SERVICES), S_OK);
  Profiles profiles = ReadProfiles();
  Services all = profiles[kA];
  all.merge(profiles[kB]);
  EXPECT_EQ(all.size(), 4u);
  for (const auto& [uid, values] : all) EXPECT_EQ(values.size(), 10u);
  hive_.WriteFile("KELUAB.ini", "[Default Services]\nbad line\n");
  EXPECT_EQ(Create(kC, MAPI_DEFAULT_SERVICES), MAPI_E_BAD_VALUE);
  EXPECT_EQ(ReadProfiles().size(), 2u);
}

TEST_F(ProfAdminTest, CopiesRenamesAndDeletes) {
  EXPECT_EQ(Table(), List{});
  ComPtr<IMAPITable> older, same;
  ASSERT_EQ(admin_->GetProfileTable(MAPI_UNICODE, older.Put()), S_OK);
  ASSERT_EQ(admin_->GetProfileTable(MAPI_UNICODE, same.Put()), S_OK);
  EXPECT_EQ(older.Get(), same.Get());
  EXPECT_EQ(Copy(kA, kB), E_FAIL);
  EXPECT_TRUE(ReadProfiles().empty());
  ASSERT_EQ(Create(kA, MAPI_DEFAULT_SERVICES), S_OK);
  const Services services = ReadProfiles()[kA];
  ASSERT_EQ(SetDefault(kA), S_OK);
  EXPECT_EQ(Copy(kA, kB), S_OK);
  EXPECT_EQ(Copy(kA, kB), E_ACCESSDENIED);
  EXPECT_EQ(Table(), (List{UAB_TEXT("a*"), kB}));
  EXPECT_EQ(Rename(kB, kC), S_OK);
  EXPECT_EQ(RecordedDefault(), kA);
  EXPECT_EQ(Rename(kA, kB), S_OK);
  EXPECT_EQ(Table(), (List{UAB_TEXT("b*"), kC}));
  EXPECT_EQ(ReadProfiles(), (Profiles{{kB, services}, {kC, services}}));
  EXPECT_EQ(Delete(kB), S_OK);
  EXPECT_EQ(Delete(kB), MAPI_E_NOT_FOUND);
  EXPECT_EQ(Table(), List{kC});
  EXPECT_EQ(RecordedDefault(), kB) << "the name stays recorded";
  ULONG count = 9;
  EXPECT_EQ(older->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 0u) << "goes on showing what it showed";
}

TEST_F(ProfAdminTest, RecordsAndClearsTheDefault) {
  EXPECT_EQ(SetDefault(nullptr), E_FAIL) << "no profile root";
  ASSERT_EQ(Create(UAB_TEXT("Fax")), S_OK);
  EXPECT_EQ(SetDefault(kA), MAPI_E_NOT_FOUND);
  EXPECT_EQ(RecordedDefault(), Text());
  UniqueKey root;
  ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_ALL_ACCESS, &root), S_OK);
  ASSERT_EQ(SetText(root.Get(), UAB_TEXT("DefaultProfile"), UAB_TEXT("FAX")), S_OK);
  ASSERT_EQ(Create(kB), S_OK);
  EXPECT_EQ(Table(), (List{kB, UAB_TEXT("Fax*")}));
  EXPECT_EQ(SetDefault(nullptr), S_OK);
  EXPECT_EQ(SetDefault(nullptr), E_FAIL);
  EXPECT_EQ(Table(), (List{kB, UAB_TEXT("Fax")}));
}

TEST_F(ProfAdminTest, AKeyThatIsNoProfileMakesTheTableUnreadable) {
  ASSERT_EQ(Create(kA), S_OK);
  UniqueKey root, key;
  ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_ALL_ACCESS, &root), S_OK);
  ASSERT_EQ(CreateKey(root.Get(), Text(65, 'x').c_str(), &key, nullptr), S_OK);
  EXPECT_EQ(Create(kB), E_FAIL);
  ComPtr<IMAPITable> table;
  EXPECT_EQ(admin_->GetProfileTable(MAPI_UNICODE, table.Put()), E_FAIL);
  key.Reset();
  ASSERT_EQ(RegDeleteKeyW(root.Get(), Text(65, 'x').c_str()), 0);
  EXPECT_EQ(admin_->GetProfileTable(MAPI_UNICODE, table.Put()), S_OK);

  // Deeper down it keeps its own profile from being deleted, and no other.
  const Text nested = UAB_TEXT("a\\") + Text(65, 'x');
  ASSERT_EQ(CreateKey(root.Get(), nested.c_str(), &key, nullptr), S_OK);
  EXPECT_EQ(Delete(kA), E_FAIL);
  EXPECT_EQ(Create(kC), S_OK);
  EXPECT_EQ(Delete(kC), S_OK);
}

TEST_F(ProfAdminTest, ACancelledDialogUndoesEverything) {
  auto in_dialog = [](const char* commands, auto act) {
    DialogScript script(commands);
    return act();
  };
  const char* kRemoveOneAndCancel = "press 1157\ncancel\n";
  EXPECT_EQ(in_dialog(kRemoveOneAndCancel, [&] { return Create(kA, MAPI_DIALOG | MAPI_DEFAULT_SERVICES); }),
            MAPI_E_USER_CANCEL);
  EXPECT_TRUE(ReadProfiles().empty());
  EXPECT_EQ(Table(), List{});
  ASSERT_EQ(Create(kA, MAPI_DEFAULT_SERVICES), S_OK);
  const Profiles before = ReadProfiles();
  EXPECT_EQ(in_dialog(kRemoveOneAndCancel, [&] { return Configure(kA); }), MAPI_E_USER_CANCEL);
  EXPECT_EQ(ReadProfiles(), before);
  EXPECT_EQ(in_dialog("press 1157\nok\n", [&] { return Configure(kA); }), S_OK);
  EXPECT_NE(ReadProfiles(), before) << "confirmed: the removal stays";
}

TEST_F(ProfAdminTest, ACallWaitsOnceForAnotherProcess) {
  ASSERT_EQ(Create(kA, MAPI_DEFAULT_SERVICES), S_OK);
  std::promise<void> held, done;
  auto other = std::async(std::launch::async, [&] {  // to the system it is as good as another process
    const UniqueUserMutex mutex(Sys().acquire_user_mutex(true));
    held.set_value();
    done.get_future().wait();
  });
  held.get_future().wait();
  longest_wait = 600;
  const std::uint64_t start = GetTickCount64();
  auto beside =
      std::async(std::launch::async, [&] { return Rename(kA, kB); });  // one of both has waited for the object
  EXPECT_TRUE(Rename(kA, kB) == E_FAIL && beside.get() == E_FAIL);
  EXPECT_NEAR(static_cast<double>(GetTickCount64() - start), 850, 250);
  IUABSession* session = nullptr;
  UABOpen(kAppKey, nullptr, 0, kA, MAPI_UNICODE, nullptr, nullptr, nullptr, nullptr, &session, 0);
  EXPECT_NEAR(static_cast<double>(GetTickCount64() - start), 1500, 400);
  done.set_value();
  longest_wait = 10'000;
}

}  // namespace
}  // namespace uab
