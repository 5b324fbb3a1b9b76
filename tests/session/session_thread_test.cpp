// What any thread may call, on several threads at once: two sessions on one profile with their tables and address
// books, profile and service administration with their sections, each thread's own logons.
#include <thread>

#include "session/staged_world.h"
#include "support/fault_count.h"

namespace uab {
namespace {

struct SessionThreads : LogonTest {
  void SetUp() override {
    LogonTest::SetUp();
    world.roles[0].keeps_support = true;  // of the second session
    for (int i : {0, 1}) ASSERT_EQ(Open(two, sessions[i], books[i].Put()), S_OK);
    ULONG type = 0;
    auto** root = reinterpret_cast<IUnknown**>(container.Put());
    ASSERT_EQ(books[0]->OpenEntry(0, nullptr, nullptr, 0, &type, root), S_OK);
    ASSERT_EQ(container->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, shared.Put()), S_OK);
    ASSERT_EQ(profiles->AdminServices(empty, MAPI_UNICODE, services.Put()), S_OK);
    ASSERT_EQ(services->CreateMsgService(staged, staged, nullptr, 0, 0, MAPI_UNICODE), S_OK);
    RowSetPtr rows;
    ASSERT_EQ(ServiceTable()->QueryRows(1, 0, rows.Put()), S_OK);
    const SPropValue* found = FindProp(rows->aRow[0].lpProps, rows->aRow[0].cValues, PR_SERVICE_UID);
    std::copy_n(found->Value.bin.lpb, sizeof(uid), uid.ab);
    ASSERT_EQ(services->OpenProfileSection(&uid, nullptr, MAPI_MODIFY, section.Put()), S_OK);
  }
  void TearDown() override {
    section.Reset(), services.Reset(), shared.Reset(), container.Reset(), world.roles[0].support.Reset();
    for (int i : {1, 0}) books[i].Reset(), sessions[i].Reset();
    LogonTest::TearDown();
  }
  ComPtr<IMAPITable> ServiceTable() {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(services->GetMsgServiceTable(MAPI_UNICODE, table.Put()), S_OK);
    return table;
  }

  void UseSession(IUABSession& session, int provider) {
    ULONG size = 0;
    ChainPtr<ENTRYID> identity;
    ComPtr<IUnknown> same;
    ComPtr<IAddrBook> book;
    ComPtr<IMsgServiceAdmin> admin;
    EXPECT_EQ(session.QueryInterface(IID_IUABSession, same.PutVoid()), S_OK);
    EXPECT_EQ(session.QueryIdentity(&size, identity.Put()), S_OK);
    EXPECT_EQ(session.OpenAddressBook(0, book.Put()), S_OK);
    EXPECT_EQ(session.AdminServices(0, admin.Put()), S_OK);
    AdrListPtr list = ListOf(provider);
    EXPECT_EQ(Expand(session, list), S_OK);
    EXPECT_EQ(list->cEntries, 4u);
  }
  void UseTables() {
    ComPtr<IMAPITable> own;
    ULONG rows = 0;
    EXPECT_EQ(container->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, own.Put()), S_OK);
    for (IMAPITable* table : {own.Get(), shared.Get()}) {
      RowSetPtr set;
      EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
      EXPECT_EQ(table->QueryRows(2, 0, set.Put()), S_OK);
      EXPECT_EQ(table->GetRowCount(0, &rows), S_OK);
      EXPECT_EQ(rows, 4u);
    }
  }
  void UseAddressBook(IAddrBook& book, const std::string& id) {
    ULONG type = 0, size = 0, connection = 0;
    ComPtr<IUnknown> object;
    ChainPtr<ENTRYID> pab;
    RowSetPtr path;
    EXPECT_EQ(book.OpenEntry(SizeOf(id), EntryIn(id), nullptr, 0, &type, object.Put()), S_OK);
    EXPECT_EQ(book.Advise(SizeOf(id), EntryIn(id), 0, nullptr, &connection), S_OK);
    EXPECT_EQ(book.Unadvise(connection), S_OK);
    EXPECT_EQ(book.SetPAB(SizeOf(id), EntryIn(id)), S_OK);
    EXPECT_EQ(book.GetPAB(&size, pab.Put()), S_OK);
    EXPECT_EQ(book.GetSearchPath(0, path.Put()), S_OK);
    EXPECT_EQ(book.SetSearchPath(0, path.Get()), S_OK);
    AdrListPtr list = ListOf(0);
    EXPECT_EQ(book.PrepareRecips(0, nullptr, list.Get()), S_OK);
  }
  // An identifier that is registered late is found at once.
  void RegisterLate() {
    static std::atomic<ULONG> count = 0;
    const ULONG number = ++count;
    MAPIUID late = {};
    std::copy_n(reinterpret_cast<const BYTE*>(&number), sizeof number, late.ab);
    EXPECT_EQ(world.roles[0].support->SetProviderUID(&late, 0), S_OK);
    const std::string id = std::string(4, '\0') + Bytes(&late, sizeof late);
    ULONG connection = 0;
    EXPECT_EQ(books[1]->Advise(SizeOf(id), EntryIn(id), 0, nullptr, &connection), S_OK);
  }
  void UseProfiles(WCHAR number) {
    WCHAR own[] = {'o', 'w', 'n', number, 0}, renamed[] = {'n', 'e', 'w', number, 0};
    ComPtr<IMAPITable> table;
    ComPtr<IMsgServiceAdmin> admin;
    ComPtr<IUABSession> session_of_own;
    EXPECT_EQ(profiles->CreateProfile(own, 0, MAPI_UNICODE), S_OK);
    EXPECT_EQ(profiles->GetProfileTable(MAPI_UNICODE, table.Put()), S_OK);
    EXPECT_EQ(profiles->SetDefaultProfile(own, MAPI_UNICODE), S_OK);
    EXPECT_EQ(profiles->AdminServices(own, MAPI_UNICODE, admin.Put()), S_OK);
    EXPECT_EQ(Open(own, session_of_own), S_OK);
    EXPECT_EQ(profiles->RenameProfile(own, renamed, MAPI_UNICODE), S_OK);
    EXPECT_EQ(profiles->DeleteProfile(renamed, MAPI_UNICODE), S_OK);
  }
  void UseServices(WCHAR number) {
    WCHAR text[] = {'t', number, 0};
    SPropValue value = TextValue(PR_COMMENT_W, text);
    TagArray<1> tags = {1, {PR_COMMENT_W}};
    ComPtr<IMAPIProp> own;
    IMAPIProp* none = nullptr;
    ULONG count = 0;
    ChainPtr<SPropValue> values;
    EXPECT_EQ(services->CreateMsgService(staged, staged, nullptr, 0, 0, MAPI_UNICODE), S_OK);
    ServiceTable();
    EXPECT_EQ(services->ConfigureMsgService(&uid, 0, MAPI_UNICODE, 1, &value, &none), S_OK);
    EXPECT_EQ(services->OpenProfileSection(&uid, nullptr, MAPI_MODIFY, own.Put()), S_OK);
    for (IMAPIProp* each : {own.Get(), section.Get()}) {
      EXPECT_EQ(each->SetProps(1, &value, nullptr), S_OK);
      EXPECT_EQ(each->GetProps(tags.address(), MAPI_UNICODE, &count, values.Put()), S_OK);
      EXPECT_EQ(each->SaveChanges(0), S_OK);
    }
  }
  WCHAR staged[8] = {'S', 't', 'a', 'g', 'e', 'd', '0', 0};
  ComPtr<IUABSession> sessions[2];
  ComPtr<IAddrBook> books[2];
  ComPtr<IABContainer> container;
  ComPtr<IMAPITable> shared;
  ComPtr<IMsgServiceAdmin> services;
  ComPtr<IMAPIProp> section;
  MAPIUID uid = {};
};

TEST_F(SessionThreads, EightAtOnce) {
  const int rounds = IsSoak() ? 40 : 3;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([this, t, rounds] {
      for (int i = 0; i < rounds * 6; ++i) {
        UseSession(*sessions[i % 2], t % 2);
        UseTables();
        UseAddressBook(*books[i % 2], world.providers[t % 2].Id("people"));
        RegisterLate();
        if (i % 6 != 0) continue;  // what changes the registry takes its time
        UseProfiles(static_cast<WCHAR>('0' + t));
        UseServices(static_cast<WCHAR>('0' + t));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  ULONG rows = 0;
  EXPECT_EQ(ServiceTable()->GetRowCount(0, &rows), S_OK);
  EXPECT_EQ(rows, 1u + 8u * static_cast<ULONG>(rounds));
}

}  // namespace
}  // namespace uab
