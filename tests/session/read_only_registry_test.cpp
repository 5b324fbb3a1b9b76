// A user whose registry can only be read: what reads goes on, sessions too; what would change something is refused and
// changes nothing.
#include "support/read_only_registry.h"

#include <optional>

#include "session/staged_world.h"

namespace uab {
namespace {

using ReadOnlyRegistryTest = LogonTest;

TEST_F(ReadOnlyRegistryTest, IsReadAndNeverChanged) {
  WCHAR other[] = {'O', 0}, staged[] = {'S', 't', 'a', 'g', 'e', 'd', '0', 0};
  const std::string before = Stored();
  std::optional<ReadOnlyRegistry> read_only(std::in_place);
  ComPtr<IProfAdmin> admin;
  ComPtr<IMAPITable> table;
  ComPtr<IMsgServiceAdmin> services;
  RowSetPtr rows;
  ASSERT_EQ(UABAdminProfiles(app_key, nullptr, MAPI_UNICODE, admin.Put(), 0), S_OK);
  EXPECT_EQ(admin->GetProfileTable(MAPI_UNICODE, table.Put()), S_OK);
  EXPECT_EQ(admin->AdminServices(two, MAPI_UNICODE, services.Put()), S_OK);
  EXPECT_EQ(services->GetMsgServiceTable(MAPI_UNICODE, table.Put()), S_OK);
  ASSERT_EQ(table->QueryRows(9, 0, rows.Put()), S_OK);
  ASSERT_EQ(rows->cRows, 2u);
  const SPropValue* found = FindProp(rows->aRow[0].lpProps, rows->aRow[0].cValues, PR_SERVICE_UID);
  auto* uid = reinterpret_cast<MAPIUID*>(found->Value.bin.lpb);
  SPropValue value = TextValue(PR_COMMENT_W, other);
  IMAPIProp* none = nullptr;
  ComPtr<IMAPIProp> section;
  EXPECT_EQ(services->OpenProfileSection(uid, nullptr, MAPI_MODIFY, section.Put()), S_OK);
  EXPECT_EQ(section->SetProps(1, &value, nullptr), S_OK);
  const HRESULT refused[] = {
      admin->CreateProfile(other, 0, MAPI_UNICODE),
      admin->CreateProfile(other, 0, MAPI_UNICODE | MAPI_DEFAULT_SERVICES),
      admin->DeleteProfile(two, MAPI_UNICODE),
      admin->DeleteProfile(empty, MAPI_UNICODE),
      admin->CopyProfile(two, other, MAPI_UNICODE),
      admin->RenameProfile(two, other, MAPI_UNICODE),
      admin->SetDefaultProfile(empty, MAPI_UNICODE),
      services->CreateMsgService(staged, other, nullptr, 0, 0, MAPI_UNICODE),
      services->DeleteMsgService(uid),
      services->ConfigureMsgService(uid, 0, MAPI_UNICODE, 1, &value, &none),
      section->SaveChanges(0),
  };
  for (const HRESULT& hr : refused) EXPECT_EQ(hr, E_FAIL) << "change " << &hr - refused;

  ComPtr<IUABSession> session;
  ComPtr<IAddrBook> address_book;
  ComPtr<IUnknown> root;
  ULONG type = 0;
  ASSERT_EQ(Open(two, session, address_book.Put()), S_OK);
  ASSERT_EQ(address_book->OpenEntry(0, nullptr, nullptr, 0, &type, root.Put()), S_OK);
  EXPECT_EQ(static_cast<IMAPIContainer*>(root.Get())->GetHierarchyTable(MAPI_UNICODE, table.Put()), S_OK);
  const std::string id = world.providers[0].Id("people");
  EXPECT_EQ(address_book->SetPAB(SizeOf(id), EntryIn(id)), S_OK) << "for this session";
  root.Reset(), address_book.Reset(), session.Reset();
  EXPECT_EQ(Stored(), before);

  read_only.reset();
  EXPECT_EQ(Stored(), before);
  EXPECT_EQ(services->DeleteMsgService(uid), S_OK);
  EXPECT_EQ(admin->RenameProfile(two, other, MAPI_UNICODE), S_OK);
}

}  // namespace
}  // namespace uab
