#include "profiles/prof_admin.h"

#include "profiles/profile_world.h"
#include "support/dialog_script.h"

namespace uab {
namespace {

using List = std::vector<Text>;

class ProfAdminTest : public ProfileWorld {};

TEST_F(ProfAdminTest, RefusesWhatNoProfileCanBeCalled) {
  const Text longest(64, 'x'), longer(65, 'x');
  const struct {
    const WCHAR* name;
    HRESULT hr;
  } cases[] = {{nullptr, E_INVALIDARG},      {UAB_TEXT(""), E_INVALIDARG}, {UAB_TEXT("a\\b"), E_INVALIDARG},
               {longer.c_str(), E_INVALIDARG}, {longest.c_str(), S_OK},      {longest.c_str(), E_ACCESSDENIED}};
  for (const auto& test : cases) EXPECT_EQ(Create(test.name), test.hr) << (test.name != nullptr ? lstrlenW(test.name) : -1);
  for (const WCHAR* name : {static_cast<const WCHAR*>(nullptr), longer.c_str(), UAB_TEXT("a\\b")}) {
    EXPECT_EQ(admin_->CopyProfile(Mutable(longest.c_str()), Mutable(name), MAPI_UNICODE), E_INVALIDARG);
    EXPECT_EQ(admin_->RenameProfile(Mutable(longest.c_str()), Mutable(name), MAPI_UNICODE), E_INVALIDARG);
    EXPECT_EQ(admin_->DeleteProfile(Mutable(name), MAPI_UNICODE), MAPI_E_NOT_FOUND);
  }
  EXPECT_EQ(Table(), List{longest});

  // The path to the key has 128 characters at most: 25 + key + 13 + 1 + name.
  Text app_key(128 - 39 - 10, 'k');
  ComPtr<ProfAdmin> other;
  ASSERT_EQ(ProfAdmin::Create(app_key.c_str(), nullptr, other), S_OK);
  EXPECT_EQ(other->CreateProfile(Mutable(UAB_TEXT("ten chars.")), 0, MAPI_UNICODE), S_OK);
  EXPECT_EQ(other->CreateProfile(Mutable(UAB_TEXT("ten chars..")), 0, MAPI_UNICODE), E_INVALIDARG);
  for (const WCHAR* bad_key : {static_cast<const WCHAR*>(nullptr), UAB_TEXT("")}) {
    ASSERT_EQ(ProfAdmin::Create(bad_key, nullptr, other), S_OK);
    EXPECT_EQ(other->CreateProfile(Mutable(UAB_TEXT("a")), 0, MAPI_UNICODE), E_INVALIDARG);
  }
}

TEST_F(ProfAdminTest, NamesThatDifferInCaseAreTakenButNotFound) {
  const WCHAR *name = UAB_TEXT("F\u00E4x"), *capitals = UAB_TEXT("F\u00C4X");
  ASSERT_EQ(Create(name), S_OK);
  ASSERT_EQ(Create(UAB_TEXT("other"), MAPI_DEFAULT_SERVICES), S_OK);
  const Profiles before = ReadProfiles();
  EXPECT_EQ(Create(capitals), E_ACCESSDENIED);
  EXPECT_EQ(admin_->CopyProfile(Mutable(UAB_TEXT("other")), Mutable(capitals), MAPI_UNICODE), E_ACCESSDENIED);
  EXPECT_EQ(admin_->RenameProfile(Mutable(UAB_TEXT("other")), Mutable(capitals), MAPI_UNICODE), E_ACCESSDENIED);
  EXPECT_EQ(admin_->RenameProfile(Mutable(name), Mutable(capitals), MAPI_UNICODE), E_ACCESSDENIED);
  EXPECT_EQ(admin_->RenameProfile(Mutable(capitals), Mutable(UAB_TEXT("new")), MAPI_UNICODE), E_FAIL);
  EXPECT_EQ(admin_->DeleteProfile(Mutable(capitals), MAPI_UNICODE), MAPI_E_NOT_FOUND);
  EXPECT_EQ(admin_->SetDefaultProfile(Mutable(capitals), MAPI_UNICODE), MAPI_E_NOT_FOUND);
  ComPtr<IMsgServiceAdmin> services;
  EXPECT_EQ(admin_->AdminServices(Mutable(capitals), MAPI_UNICODE, services.Put()), MAPI_E_NOT_FOUND);
  EXPECT_EQ(ReadProfiles(), before);
}

TEST_F(ProfAdminTest, DefaultServicesGetIdentifiersOfTheirOwn) {
  ASSERT_EQ(Create(UAB_TEXT("a"), MAPI_DEFAULT_SERVICES), S_OK);
  ASSERT_EQ(Create(UAB_TEXT("b"), MAPI_DEFAULT_SERVICES), S_OK);
  Profiles profiles = ReadProfiles();
  Services all = profiles[UAB_TEXT("a")];
  all.merge(profiles[UAB_TEXT("b")]);
  EXPECT_EQ(all.size(), 4u);
  for (const auto& [uid, values] : all) EXPECT_EQ(values.size(), 10u);
  EXPECT_EQ(Table(), (List{UAB_TEXT("a"), UAB_TEXT("b")}));

  hive_.WriteFile("KELUAB.ini", "[Default Services]\nbad line\n");
  EXPECT_EQ(Create(UAB_TEXT("c"), MAPI_DEFAULT_SERVICES), MAPI_E_BAD_VALUE);
  EXPECT_EQ(ReadProfiles().size(), 2u);
}

TEST_F(ProfAdminTest, CopiesRenamesAndDeletes) {
  WCHAR *a = Mutable(UAB_TEXT("a")), *b = Mutable(UAB_TEXT("b")), *c = Mutable(UAB_TEXT("c"));
  EXPECT_EQ(Table(), List{});
  EXPECT_EQ(admin_->CopyProfile(a, b, MAPI_UNICODE), E_FAIL);
  EXPECT_TRUE(ReadProfiles().empty());
  ASSERT_EQ(Create(a, MAPI_DEFAULT_SERVICES), S_OK);
  const Services services = ReadProfiles()[a];
  ASSERT_EQ(admin_->SetDefaultProfile(a, MAPI_UNICODE), S_OK);
  EXPECT_EQ(admin_->CopyProfile(a, b, MAPI_UNICODE), S_OK);
  EXPECT_EQ(Table(), (List{UAB_TEXT("a*"), UAB_TEXT("b")}));
  EXPECT_EQ(admin_->RenameProfile(b, c, MAPI_UNICODE), S_OK);
  EXPECT_EQ(RecordedDefault(), a);
  EXPECT_EQ(admin_->RenameProfile(a, b, MAPI_UNICODE), S_OK);
  EXPECT_EQ(Table(), (List{UAB_TEXT("b*"), UAB_TEXT("c")}));
  EXPECT_EQ(ReadProfiles(), (Profiles{{b, services}, {c, services}}));
  EXPECT_EQ(admin_->DeleteProfile(b, MAPI_UNICODE), S_OK);
  EXPECT_EQ(admin_->DeleteProfile(b, MAPI_UNICODE), MAPI_E_NOT_FOUND);
  EXPECT_EQ(Table(), List{c});
  EXPECT_EQ(RecordedDefault(), b) << "the name stays recorded";
}

TEST_F(ProfAdminTest, RecordsAndClearsTheDefault) {
  EXPECT_EQ(admin_->SetDefaultProfile(nullptr, MAPI_UNICODE), E_FAIL) << "no profile root";
  ASSERT_EQ(Create(UAB_TEXT("Fax")), S_OK);
  EXPECT_EQ(admin_->SetDefaultProfile(Mutable(UAB_TEXT("no")), MAPI_UNICODE), MAPI_E_NOT_FOUND);
  EXPECT_EQ(RecordedDefault(), Text());
  UniqueKey root;
  ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_ALL_ACCESS, &root), S_OK);
  ASSERT_EQ(SetText(root.Get(), UAB_TEXT("DefaultProfile"), UAB_TEXT("FAX")), S_OK);
  ASSERT_EQ(Create(UAB_TEXT("b")), S_OK);
  EXPECT_EQ(Table(), (List{UAB_TEXT("b"), UAB_TEXT("Fax*")}));
  EXPECT_EQ(admin_->SetDefaultProfile(nullptr, MAPI_UNICODE), S_OK);
  EXPECT_EQ(admin_->SetDefaultProfile(nullptr, MAPI_UNICODE), E_FAIL);
  EXPECT_EQ(Table(), (List{UAB_TEXT("b"), UAB_TEXT("Fax")}));
}

TEST_F(ProfAdminTest, AnOlderTableGoesOnShowingWhatItShowed) {
  ASSERT_EQ(Create(UAB_TEXT("a")), S_OK);
  ComPtr<IMAPITable> older, same, newer;
  ASSERT_EQ(admin_->GetProfileTable(MAPI_UNICODE, older.Put()), S_OK);
  ASSERT_EQ(admin_->GetProfileTable(MAPI_UNICODE, same.Put()), S_OK);
  EXPECT_EQ(older.Get(), same.Get());
  ASSERT_EQ(Create(UAB_TEXT("b")), S_OK);
  ASSERT_EQ(admin_->GetProfileTable(MAPI_UNICODE, newer.Put()), S_OK);
  ULONG count = 0;
  EXPECT_EQ(older->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(newer->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 2u);
}

TEST_F(ProfAdminTest, AKeyThatIsNoProfileMakesTheTableUnreadable) {
  ASSERT_EQ(Create(UAB_TEXT("a")), S_OK);
  UniqueKey root, key;
  ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_ALL_ACCESS, &root), S_OK);
  ASSERT_EQ(CreateKey(root.Get(), Text(65, 'x').c_str(), &key, nullptr), S_OK);
  EXPECT_EQ(Create(UAB_TEXT("b")), E_FAIL);
  ComPtr<IMAPITable> table;
  EXPECT_EQ(admin_->GetProfileTable(MAPI_UNICODE, table.Put()), E_FAIL);
  key.Reset();
  ASSERT_EQ(RegDeleteKeyW(root.Get(), Text(65, 'x').c_str()), 0);
  EXPECT_EQ(admin_->GetProfileTable(MAPI_UNICODE, table.Put()), S_OK);
}

// Without a template the dialog can't be shown, which is a cancellation.
TEST_F(ProfAdminTest, ACancelledDialogUndoesEverything) {
  const char* kRemoveOneAndCancel = "press 1157\ncancel\n";
  {
    DialogScript script(kRemoveOneAndCancel);
    EXPECT_EQ(Create(UAB_TEXT("a"), MAPI_DIALOG | MAPI_DEFAULT_SERVICES), MAPI_E_USER_CANCEL);
  }
  EXPECT_TRUE(ReadProfiles().empty());
  EXPECT_EQ(Table(), List{});
  ASSERT_EQ(Create(UAB_TEXT("a"), MAPI_DEFAULT_SERVICES), S_OK);
  const Profiles before = ReadProfiles();
  {
    DialogScript script(kRemoveOneAndCancel);
    EXPECT_EQ(admin_->ConfigureProfile(Mutable(UAB_TEXT("a")), 0, MAPI_UNICODE), MAPI_E_USER_CANCEL);
  }
  EXPECT_EQ(ReadProfiles(), before);
  {
    DialogScript script("press 1157\nok\n");
    EXPECT_EQ(admin_->ConfigureProfile(Mutable(UAB_TEXT("a")), 0, MAPI_UNICODE), S_OK);
  }
  EXPECT_NE(ReadProfiles(), before) << "confirmed: the removal stays";
  EXPECT_EQ(admin_->ConfigureProfile(Mutable(UAB_TEXT("b")), 0, MAPI_UNICODE), MAPI_E_NOT_FOUND);
}

TEST_F(ProfAdminTest, ChecksArgumentsFirst) {
  WCHAR* a = Mutable(UAB_TEXT("a"));
  ComPtr<IMsgServiceAdmin> services;
  IMAPITable* table = reinterpret_cast<IMAPITable*>(this);
  EXPECT_EQ(admin_->GetProfileTable(0, &table), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(table, nullptr);
  EXPECT_EQ(admin_->CreateProfile(nullptr, 0, 0), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(admin_->DeleteProfile(a, 0), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(admin_->ConfigureProfile(a, 0, 0), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(admin_->CopyProfile(a, a, 0), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(admin_->RenameProfile(a, a, 0), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(admin_->SetDefaultProfile(a, 0), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(admin_->AdminServices(a, 0, nullptr), E_INVALIDARG);
  EXPECT_EQ(admin_->AdminServices(a, 0, services.Put()), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(admin_->AdminServices(nullptr, MAPI_UNICODE, services.Put()), E_INVALIDARG);
  void* object = this;
  EXPECT_EQ(admin_->QueryInterface(IID_IProfSect, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  ASSERT_EQ(admin_->QueryInterface(IID_UABProfAdmin, &object), S_OK);
  EXPECT_EQ(object, admin_.Get());
  admin_->Release();
}

}  // namespace
}  // namespace uab
