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
  ChainPtr<ENTRYID> identity;
  EXPECT_EQ(session->QueryIdentity(&size, identity.Put()), S_OK);
  EXPECT_EQ(Bytes(identity.Get(), size), std::string(4, '\0') + Bytes(&IdentityUID, 16));
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
  session.Reset();
  EXPECT_EQ(world.events, expected);
  const std::string id = world.providers[0].Id("team");
  ComPtr<IUnknown> object;
  ULONG type = 0;
  EXPECT_EQ(address_book->OpenEntry(SizeOf(id), EntryIn(id), nullptr, 0, &type, object.Put()), MAPI_E_END_OF_SESSION);
}

}  // namespace
}  // namespace uab
