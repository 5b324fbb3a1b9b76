#include "session/session.h"

#include "session/staged_world.h"

namespace uab {
namespace {

struct SessionTest : LogonTest {
  void SetUp() override {
    LogonTest::SetUp();
    ASSERT_EQ(Open(two, session), S_OK);
  }
  void TearDown() override {
    session.Reset();
    LogonTest::TearDown();
  }
  // Whose library was loaded first; services have no order of their own.
  int first() const { return world.events[1] - '0'; }

  ComPtr<IUABSession> session;
};

TEST_F(SessionTest, SlotsStandInTheirOrder) {
  using Slot = HRESULT(UAB_CALL*)(void*, ULONG_PTR, ULONG_PTR, ULONG_PTR);
  void* self = session.Get();
  Slot* slots = *static_cast<Slot**>(self);
  void* object = nullptr;
  auto out = reinterpret_cast<ULONG_PTR>(&object);
  EXPECT_EQ(slots[4 - 1](self, 0, 0, 0), S_OK);
  ASSERT_EQ(slots[5 - 1](self, RowSetSize(0), out, 0), S_OK);  // a list of no rows
  void* head = object;
  EXPECT_EQ(slots[6 - 1](self, 10, reinterpret_cast<ULONG_PTR>(head), out), S_OK);
  EXPECT_EQ(slots[7 - 1](self, reinterpret_cast<ULONG_PTR>(object), 0, 0), E_INVALIDARG) << "no head";
  EXPECT_EQ(slots[7 - 1](self, reinterpret_cast<ULONG_PTR>(head), 0, 0), S_OK);
  for (int slot : {8, 9}) {  // freed, or the build with sanitizers complains
    ASSERT_EQ(slots[5 - 1](self, RowSetSize(0), out, 0), S_OK);
    slots[slot - 1](self, reinterpret_cast<ULONG_PTR>(object), 0, 0);
  }
  ASSERT_EQ(slots[10 - 1](self, 0, out, 0), S_OK);
  auto address_book = ComPtr<IAddrBook>::Attach(static_cast<IAddrBook*>(object));
  EXPECT_EQ(address_book->CompareEntryIDs(0, nullptr, 0, nullptr, 0, nullptr), MAPI_E_UNKNOWN_ENTRYID);
  EXPECT_EQ(slots[11 - 1](self, 0, 0, 0), E_INVALIDARG);
  ULONG size = 0;
  ASSERT_EQ(slots[12 - 1](self, reinterpret_cast<ULONG_PTR>(&size), out, 0), S_OK);
  ChainPtr<BYTE> identity(static_cast<BYTE*>(object));
  ASSERT_EQ(size, 20u);
  EXPECT_EQ(std::string(4, '\0') + std::string(reinterpret_cast<const char*>(&IdentityUID), 16),
            std::string(reinterpret_cast<char*>(identity.Get()), 20));
  ASSERT_EQ(slots[13 - 1](self, 0, out, 0), S_OK);
  auto admin = ComPtr<IMsgServiceAdmin>::Attach(static_cast<IMsgServiceAdmin*>(object));
  ComPtr<IMAPITable> services;
  EXPECT_EQ(admin->GetMsgServiceTable(MAPI_UNICODE, services.Put()), S_OK);
}

TEST_F(SessionTest, ChecksArgumentsInTheirOrder) {
  IAddrBook* address_book = nullptr;
  IMsgServiceAdmin* admin = nullptr;
  ADRLIST* list = nullptr;
  ADRLIST none = {};
  ULONG size = 0;
  EXPECT_EQ(session->OpenAddressBook(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(session->OpenAddressBook(MAPI_UNICODE, &address_book), MAPI_E_UNKNOWN_FLAGS);
  EXPECT_EQ(session->AdminServices(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(session->AdminServices(1, &admin), MAPI_E_UNKNOWN_FLAGS);
  EXPECT_EQ(session->QueryIdentity(&size, nullptr), E_INVALIDARG);
  EXPECT_EQ(session->QueryIdentity(nullptr, reinterpret_cast<ENTRYID**>(&list)), E_INVALIDARG);
  EXPECT_EQ(session->ExpandDistLists(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(session->ExpandDistLists(1, &list), E_INVALIDARG);
  list = &none;
  EXPECT_EQ(session->ExpandDistLists(1, &list), E_INVALIDARG);
  none.cEntries = 1;
  EXPECT_EQ(session->ExpandDistLists(1, &list), MAPI_E_UNKNOWN_FLAGS);
  EXPECT_TRUE(size == 0 && address_book == nullptr && admin == nullptr);
}

TEST_F(SessionTest, AnswersForItsInterfaces) {
  ComPtr<IUnknown> object;
  for (const IID* iid : {&IID_IUnknown, &IID_IUABSession}) {
    EXPECT_EQ(session->QueryInterface(*iid, object.PutVoid()), S_OK);
    EXPECT_EQ(static_cast<void*>(object.Get()), session.Get());
  }
  EXPECT_EQ(session->QueryInterface(IID_IUABSupport, object.PutVoid()), E_NOINTERFACE);
  EXPECT_FALSE(object);
  EXPECT_EQ(session->QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
}

TEST_F(SessionTest, ExpandsAcrossProviders) {
  AdrListPtr list = ListOf(0);
  ASSERT_EQ(Expand(*session, list), S_OK);
  std::string members;
  for (ULONG i = 0; i < list->cEntries; ++i) {
    ADRENTRY& entry = list->aEntries[i];
    ASSERT_EQ(entry.cValues, 5u);
    const ULONG tags[] = {PR_ENTRYID, PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_W, WithPropType(PR_ADDRTYPE_W, PT_ERROR),
                          PR_OBJECT_TYPE};
    for (int at = 0; at < 5; ++at) EXPECT_EQ(entry.rgPropVals[at].ulPropTag, tags[at]);
    EXPECT_EQ(entry.rgPropVals[1].Value.ul, MAPI_CC);
    const SBinary& id = entry.rgPropVals[0].Value.bin;
    members += Bytes(id.lpb, id.cb).substr(19) + " ";
  }
  EXPECT_EQ(members, "Aann Abob Bann Bbob ");
}

TEST_F(SessionTest, TheLastReleaseUnloadsAndWhatIsHeldSaysSo) {
  ComPtr<IAddrBook> address_book;
  ASSERT_EQ(session->OpenAddressBook(0, address_book.Put()), S_OK);
  std::string expected = first() == 0 ? "O0O1R1U1R0U0" : "O1O0R0U0R1U1";
  EXPECT_EQ(session->AddRef(), 2u);
  EXPECT_EQ(session->Release(), 1u);
  session.Reset();
  EXPECT_EQ(world.events, expected);
  const std::string id = world.providers[0].Id("team");
  ComPtr<IUnknown> object;
  ULONG type = 0;
  EXPECT_EQ(address_book->OpenEntry(SizeOf(id), EntryIn(id), nullptr, 0, &type, object.Put()),
            MAPI_E_END_OF_SESSION);
}

TEST_F(SessionTest, ProvidersMayCallBackDuringEachCall) {
  IUABSession* inside = session.Get();
  int calls = 0;
  world.intrude = [&] {
    ++calls;
    ComPtr<IAddrBook> address_book;
    ComPtr<IMsgServiceAdmin> admin;
    inside->AddRef();
    inside->OpenAddressBook(0, address_book.Put());
    inside->AdminServices(0, admin.Put());
    inside->Release();
  };
  AdrListPtr list = ListOf(1);
  EXPECT_EQ(Expand(*session, list), S_OK);
  EXPECT_EQ(list->cEntries, 4u);
  EXPECT_GT(calls, 10);
  session.Reset();
  world.intrude = nullptr;
}

}  // namespace
}  // namespace uab
