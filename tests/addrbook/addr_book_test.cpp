#include "addrbook/addr_book.h"

#include "addrbook/address_book_fixture.h"

namespace uab {
namespace {

class AddrBookTest : public AddressBookTest {
 protected:
  HRESULT Open(const std::string& id) {
    ULONG type = 0;
    ComPtr<IUnknown> object;
    HRESULT hr = book_->OpenEntry(SizeOf(id), EntryIn(id), nullptr, 0, &type, object.Put());
    EXPECT_EQ(static_cast<bool>(object), Succeeded(hr));
    return hr;
  }
  HRESULT Details(const std::string& id, ULONG_PTR* ui) {
    return book_->Details(ui, nullptr, nullptr, SizeOf(id), EntryIn(id), nullptr, nullptr, nullptr, 3);
  }
};

std::string IdentityId(const std::string& more = "") {
  return std::string(4, '\0') + Bytes(&IdentityUID, sizeof(IdentityUID)) + more;
}

TEST_F(AddrBookTest, RoutesByTheUidInTheIdentifier) {
  const struct {
    std::string id;
    HRESULT opened, advised, detailed;
    Log asked;
  } cases[] = {
      {FakeId('A', "a1"), S_OK, S_OK, S_OK, {"A.OpenEntry a1", "A.Advise", "A.Details 3"}},
      {FakeId('B'), MAPI_E_NOT_FOUND, S_OK, S_OK, {"B.OpenEntry", "B.Advise", "B.Details 3"}},
      {FakeId('C', "c"), MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND, {}},
      {FakeId('A').substr(0, 19), MAPI_E_INVALID_ENTRYID, MAPI_E_INVALID_ENTRYID, MAPI_E_INVALID_ENTRYID, {}},
      {"", MAPI_E_INVALID_ENTRYID, E_INVALIDARG, MAPI_E_INVALID_ENTRYID, {}},
      {IdentityId(), MAPI_E_INVALID_ENTRYID, MAPI_E_NOT_FOUND, MAPI_E_INVALID_ENTRYID, {}},
      {IdentityId("more"), MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND, {}},
  };
  for (const auto& c : cases) {
    TakeLog();
    ULONG connection = 9;
    ULONG_PTR ui = 0;
    EXPECT_EQ(Open(c.id), c.opened) << c.id;
    EXPECT_EQ(book_->Advise(SizeOf(c.id), EntryIn(c.id), 1, nullptr, &connection), c.advised) << c.id;
    EXPECT_EQ(connection != 0, c.advised == S_OK) << c.id;
    EXPECT_EQ(Details(c.id, &ui), c.detailed) << c.id;
    EXPECT_EQ(Details(c.id, nullptr), E_INVALIDARG);
    EXPECT_EQ(TakeLog(), c.asked) << c.id;
  }
}

TEST_F(AddrBookTest, NewEntryIsRoutedByTheContainerElseByTheTemplate) {
  const std::string a = FakeId('A'), b = FakeId('B'), brief = "brief";
  const struct {
    ULONG container_size;
    ENTRYID* container;
    ULONG template_size;
    ENTRYID* entry_template;
    HRESULT hr;
    Log asked;
  } cases[] = {
      {20, EntryIn(a), 20, EntryIn(b), S_OK, {"A.NewEntry 4 2"}},
      {0, EntryIn(a), 20, EntryIn(b), S_OK, {"B.NewEntry 4 2"}},
      {20, nullptr, 20, EntryIn(b), S_OK, {"B.NewEntry 4 2"}},
      {0, nullptr, 0, nullptr, MAPI_E_NO_SUPPORT, {}},
      {20, nullptr, 20, nullptr, MAPI_E_NO_SUPPORT, {}},
      {0, EntryIn(a), 0, nullptr, E_INVALIDARG, {}},
      {0, nullptr, 0, EntryIn(b), E_INVALIDARG, {}},
      {5, EntryIn(brief), 20, EntryIn(b), MAPI_E_INVALID_ENTRYID, {}},
  };
  TakeLog();
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    ULONG size = 9;
    ChainPtr<ENTRYID> entry;
    EXPECT_EQ(
        book_->NewEntry(4, 2, c.container_size, c.container, c.template_size, c.entry_template, &size, entry.Put()),
        c.hr);
    EXPECT_EQ(size, c.hr == S_OK ? 25u : 0u);
    EXPECT_EQ(TakeLog(), c.asked);
  }
}

TEST_F(AddrBookTest, WhatIsStillHeldAnswersThatTheSessionHasEnded) {
  IAddrBook& book = *book_;
  ULONG type = 0, size = 0, rows = 9;
  ENTRYID* entry = nullptr;
  ComPtr<IUnknown> root, object;
  ASSERT_EQ(book.OpenEntry(24, nullptr, nullptr, 7, &type, root.Put()), S_OK) << "null is the root container";
  EXPECT_EQ(type, MAPI_ABCONT);
  auto& container = static_cast<IABContainer&>(*root);
  ComPtr<IMAPITable> table, empty;
  ASSERT_EQ(container.GetHierarchyTable(MAPI_UNICODE, table.Put()), S_OK);
  const std::string id = FakeId('A', "a1");
  SBinary binary = BinaryIn(id);
  ENTRYLIST entries = {1, &binary};
  LogOff();
  TakeLog();

  void* found = &type;
  EXPECT_EQ(book.QueryInterface(IID_IAddrBook, &found), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(book.OpenEntry(0, nullptr, nullptr, 0, &type, object.Put()), MAPI_E_END_OF_SESSION);
  for (const std::string& any : {id, std::string("brief")}) EXPECT_EQ(Open(any), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.Advise(20, EntryIn(id), 0, nullptr, &type), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.Unadvise(1), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.NewEntry(0, 0, 20, EntryIn(id), 0, nullptr, &size, &entry), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(Details(id, nullptr), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.PrepareRecips(0, nullptr, nullptr), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.GetPAB(&size, &entry), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.SetPAB(SizeOf(id), EntryIn(id)), E_FAIL);

  EXPECT_EQ(table->GetRowCount(0, &rows), S_OK);
  EXPECT_EQ(rows, 2u);
  EXPECT_EQ(container.GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, empty.Put()), S_OK);
  EXPECT_EQ(empty->GetRowCount(0, &rows), S_OK);
  EXPECT_EQ(rows, 0u);
  EXPECT_EQ(container.DeleteEntries(&entries, 0), S_OK);
  EXPECT_EQ(container.OpenEntry(20, EntryIn(id), nullptr, 0, &type, object.Put()), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(AddrBookTest, NeedsProvidersAndAProfile) {
  ComPtr<AddrBook> book;
  EXPECT_EQ(AddrBook::Create(nullptr, kAppKey, kProfile, book), E_INVALIDARG);
  EXPECT_EQ(AddrBook::Create(providers_, kAppKey, UAB_TEXT(""), book), E_FAIL);
  EXPECT_EQ(AddrBook::Create(providers_, kAppKey, nullptr, book), E_FAIL);
}

}  // namespace
}  // namespace uab
