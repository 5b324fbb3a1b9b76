// One session, its tables and its address book on several threads at once.
#include <thread>

#include "session/staged_world.h"

namespace uab {
namespace {

struct SessionThreads : LogonTest {
  void SetUp() override {
    LogonTest::SetUp();
    world.roles[0].keeps_support = true;
    ASSERT_EQ(Open(two, session, address_book.Put()), S_OK);
    ComPtr<IUnknown> root;
    ULONG type = 0;
    ASSERT_EQ(address_book->OpenEntry(0, nullptr, nullptr, 0, &type, root.Put()), S_OK);
    ASSERT_EQ(root->QueryInterface(IID_IABContainer, container.PutVoid()), S_OK);
    ASSERT_EQ(container->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, shared.Put()), S_OK);
  }
  void TearDown() override {
    shared.Reset();
    container.Reset();
    address_book.Reset();
    session.Reset();
    world.roles[0].support.Reset();
    LogonTest::TearDown();
  }

  void UseSession(int thread) {
    ULONG size = 0;
    ChainPtr<ENTRYID> identity;
    ComPtr<IUnknown> same;
    ComPtr<IAddrBook> book;
    ComPtr<IMsgServiceAdmin> admin;
    ComPtr<IMAPITable> services;
    EXPECT_EQ(session->QueryInterface(IID_IUABSession, same.PutVoid()), S_OK);
    EXPECT_EQ(session->QueryIdentity(&size, identity.Put()), S_OK);
    EXPECT_EQ(session->OpenAddressBook(0, book.Put()), S_OK);
    EXPECT_EQ(session->AdminServices(0, admin.Put()), S_OK);
    EXPECT_EQ(admin->GetMsgServiceTable(MAPI_UNICODE, services.Put()), S_OK);
    AdrListPtr list = ListOf(thread % 2);
    EXPECT_EQ(Expand(*session.Get(), list), S_OK);
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
  void UseAddressBook(const std::string& id) {
    ULONG type = 0, size = 0, connection = 0;
    ComPtr<IUnknown> object;
    ChainPtr<ENTRYID> pab;
    RowSetPtr path;
    EXPECT_EQ(address_book->OpenEntry(SizeOf(id), EntryIn(id), nullptr, 0, &type, object.Put()), S_OK);
    EXPECT_EQ(address_book->Advise(SizeOf(id), EntryIn(id), 0, nullptr, &connection), S_OK);
    EXPECT_EQ(address_book->Unadvise(connection), S_OK);
    EXPECT_EQ(address_book->SetPAB(SizeOf(id), EntryIn(id)), S_OK);
    EXPECT_EQ(address_book->GetPAB(&size, pab.Put()), S_OK);
    EXPECT_EQ(address_book->GetSearchPath(0, path.Put()), S_OK);
    AdrListPtr list = ListOf(0);
    EXPECT_EQ(address_book->PrepareRecips(0, nullptr, list.Get()), S_OK);
  }
  // An identifier that is registered late is found at once.
  void RegisterLate(char number) {
    MAPIUID uid = {};
    uid.ab[0] = static_cast<BYTE>(number);
    EXPECT_EQ(world.roles[0].support->SetProviderUID(&uid, 0), S_OK);
    const std::string id = std::string(4, '\0') + Bytes(&uid, sizeof(uid));
    ULONG connection = 0;
    EXPECT_EQ(address_book->Advise(SizeOf(id), EntryIn(id), 0, nullptr, &connection), S_OK);
  }

  ComPtr<IUABSession> session;
  ComPtr<IAddrBook> address_book;
  ComPtr<IABContainer> container;
  ComPtr<IMAPITable> shared;
};

TEST_F(SessionThreads, EightAtOnce) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([this, t] {
      for (int i = 0; i < 20; ++i) {
        UseSession(t);
        UseTables();
        UseAddressBook(world.providers[t % 2].Id("people"));
        RegisterLate(static_cast<char>(t * 20 + i));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace uab
