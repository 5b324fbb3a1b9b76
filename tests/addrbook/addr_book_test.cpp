#include "addrbook/addr_book.h"

#include <gtest/gtest.h>

#include <cstring>

#include "addrbook/address_book_fixture.h"

namespace uab {
namespace {

class AddrBookTest : public AddressBookTest {
 protected:
  HRESULT Open(const std::string& id, ENTRYID* entry) {
    ULONG type = 0;
    ComPtr<IUnknown> object;
    HRESULT hr = state_.book->OpenEntry(SizeOf(id), entry, nullptr, 0, &type, object.Put());
    EXPECT_EQ(static_cast<bool>(object), Succeeded(hr));
    return hr;
  }
  HRESULT Open(const std::string& id) { return Open(id, EntryIn(id)); }
};

std::string IdentityId(const std::string& more = "") {
  return std::string(4, '\0') + Bytes(&IdentityUID, sizeof(IdentityUID)) + more;
}

TEST_F(AddrBookTest, RoutesByTheUidInTheIdentifier) {
  TakeLog();
  struct {
    std::string id;
    HRESULT opened, advised, detailed;
    const char* asked;
  } cases[] = {
      {IdOf('A', "a1"), S_OK, S_OK, S_OK, "A.OpenEntry a1"},
      {IdOf('B', "b"), S_OK, S_OK, S_OK, "B.OpenEntry b"},
      {IdOf('B'), MAPI_E_NOT_FOUND, S_OK, S_OK, "B.OpenEntry "},
      {IdOf('C', "c"), MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND, nullptr},
      {IdOf('A').substr(0, 19), MAPI_E_INVALID_ENTRYID, MAPI_E_INVALID_ENTRYID, MAPI_E_INVALID_ENTRYID, nullptr},
      {"", MAPI_E_INVALID_ENTRYID, E_INVALIDARG, MAPI_E_INVALID_ENTRYID, nullptr},
      {IdentityId(), MAPI_E_INVALID_ENTRYID, MAPI_E_NOT_FOUND, MAPI_E_INVALID_ENTRYID, nullptr},
      {IdentityId("more"), MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND, MAPI_E_NOT_FOUND, nullptr},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Open(c.id), c.opened) << c.id;
    EXPECT_EQ(TakeLog(), c.asked != nullptr ? std::vector<std::string>{c.asked} : std::vector<std::string>{}) << c.id;
    ULONG connection = 9;
    EXPECT_EQ(state_.book->Advise(SizeOf(c.id), EntryIn(c.id), 1, nullptr, &connection), c.advised) << c.id;
    EXPECT_EQ(connection != 0, c.advised == S_OK) << c.id;
    ULONG_PTR ui = 0;
    EXPECT_EQ(state_.book->Details(&ui, nullptr, nullptr, SizeOf(c.id), EntryIn(c.id), nullptr, nullptr, nullptr, 0),
              c.detailed);
    EXPECT_EQ(
        state_.book->Details(nullptr, nullptr, nullptr, SizeOf(c.id), EntryIn(c.id), nullptr, nullptr, nullptr, 0),
        E_INVALIDARG);
    TakeLog();
  }
}

TEST_F(AddrBookTest, IdentifiersRegisteredLateAreFoundAndTheFirstOwnerWins) {
  ProviderCalls& calls = state_.calls;
  ScriptedProvider late(calls, 'L');
  late.Add("x", 0);
  ComPtr<ProviderSupport> support;
  ASSERT_EQ(state_.Push(late, "L", &support), S_OK);
  EXPECT_EQ(Open(IdOf('C', "x")), MAPI_E_NOT_FOUND);
  MAPIUID uid;
  for (char letter : {'C', 'A'}) {
    std::memset(&uid, letter, sizeof(uid));
    ASSERT_EQ(support->SetProviderUID(&uid, 0), S_OK);
    TakeLog();
    EXPECT_EQ(Open(IdOf(letter, "x")), S_OK);
    EXPECT_EQ(TakeLog(), std::vector<std::string>{"L.OpenEntry x"});
  }
  support.Reset();
  state_.LogOff();
  EXPECT_EQ(late.references_left(), 0u);
}

TEST_F(AddrBookTest, TheNullIdentifierIsTheRootContainer) {
  ULONG type = 0;
  ComPtr<IUnknown> root;
  EXPECT_EQ(state_.book->OpenEntry(24, nullptr, nullptr, 7, &type, root.Put()), S_OK);
  EXPECT_EQ(type, MAPI_ABCONT);
  ComPtr<IABContainer> container;
  EXPECT_EQ(root->QueryInterface(IID_IABContainer, container.PutVoid()), S_OK);
  EXPECT_EQ(state_.book->OpenEntry(0, nullptr, nullptr, 0, nullptr, root.Put()), E_INVALIDARG);
  EXPECT_EQ(state_.book->OpenEntry(0, nullptr, nullptr, 0, &type, nullptr), E_INVALIDARG);
}

TEST_F(AddrBookTest, NewEntryIsRoutedByTheContainerElseByTheTemplate) {
  const std::string a = IdOf('A'), b = IdOf('B'), brief = "brief";
  struct {
    ULONG container_size;
    ENTRYID* container;
    ULONG template_size;
    ENTRYID* entry_template;
    HRESULT hr;
    const char* asked;
  } cases[] = {
      {20, EntryIn(a), 20, EntryIn(b), S_OK, "A.NewEntry 4 2"},
      {0, EntryIn(a), 20, EntryIn(b), S_OK, "B.NewEntry 4 2"},
      {20, nullptr, 20, EntryIn(b), S_OK, "B.NewEntry 4 2"},
      {0, nullptr, 0, nullptr, MAPI_E_NO_SUPPORT, nullptr},
      {20, nullptr, 20, nullptr, MAPI_E_NO_SUPPORT, nullptr},
      {0, EntryIn(a), 0, nullptr, E_INVALIDARG, nullptr},
      {0, nullptr, 0, EntryIn(b), E_INVALIDARG, nullptr},
      {5, EntryIn(brief), 20, EntryIn(b), MAPI_E_INVALID_ENTRYID, nullptr},
  };
  for (const auto& c : cases) {
    TakeLog();
    ULONG size = 9;
    ENTRYID* entry = nullptr;
    EXPECT_EQ(
        state_.book->NewEntry(4, 2, c.container_size, c.container, c.template_size, c.entry_template, &size, &entry),
        c.hr);
    EXPECT_EQ(size, c.hr == S_OK ? 5u : 0u);
    EXPECT_EQ(TakeLog(), c.asked != nullptr ? std::vector<std::string>{c.asked} : std::vector<std::string>{});
  }
}

// Slot by slot, as a host built with another compiler sees it.
TEST_F(AddrBookTest, SlotsStandInTheirOrder) {
  using Slot = HRESULT(UAB_CALL*)(void*, ULONG_PTR, ULONG_PTR, ULONG_PTR, ULONG_PTR, ULONG_PTR, ULONG_PTR, ULONG_PTR,
                                  ULONG_PTR, ULONG_PTR);
  void* self = static_cast<IAddrBook*>(state_.book.Get());
  Slot* slots = *static_cast<Slot**>(self);
  auto call = [&](int slot, ULONG_PTR first = 0) { return slots[slot - 1](self, first, 0, 0, 0, 0, 0, 0, 0, 0); };
  for (int slot : {5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 19, 20, 21, 22, 24, 25}) {
    EXPECT_EQ(call(slot), MAPI_E_NO_SUPPORT) << slot;
  }
  EXPECT_EQ(call(4), S_OK);
  EXPECT_EQ(call(16), MAPI_E_UNKNOWN_ENTRYID);
  EXPECT_EQ(call(18, 77), MAPI_E_NOT_FOUND);
  for (int slot : {15, 17, 23, 26, 28, 30, 31, 32}) EXPECT_EQ(call(slot), E_INVALIDARG) << slot;
  for (int slot : {27, 29}) EXPECT_EQ(call(slot), E_FAIL) << slot;
}

TEST_F(AddrBookTest, WhatIsStillHeldAnswersThatTheSessionHasEnded) {
  IAddrBook& book = *state_.book;
  ULONG type = 0, size = 0;
  ENTRYID* entry = nullptr;
  ComPtr<IUnknown> root, object;
  ASSERT_EQ(book.OpenEntry(0, nullptr, nullptr, 0, &type, root.Put()), S_OK);
  auto& container = static_cast<IABContainer&>(*root);
  ComPtr<IMAPITable> table, empty;
  ASSERT_EQ(container.GetHierarchyTable(MAPI_UNICODE, table.Put()), S_OK);
  std::string id = IdOf('A', "a1");
  SBinary binary = {SizeOf(id), reinterpret_cast<BYTE*>(id.data())};
  ENTRYLIST entries = {1, &binary};
  state_.LogOff();
  TakeLog();

  void* found = &type;
  EXPECT_EQ(book.QueryInterface(IID_IAddrBook, &found), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(book.OpenEntry(0, nullptr, nullptr, 0, &type, object.Put()), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(Open(id), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(Open("brief"), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.Advise(20, EntryIn(id), 0, nullptr, &type), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.Unadvise(1), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.NewEntry(0, 0, 20, EntryIn(id), 0, nullptr, &size, &entry), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.Details(nullptr, nullptr, nullptr, 20, EntryIn(id), nullptr, nullptr, nullptr, 0),
            MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.PrepareRecips(0, nullptr, nullptr), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.GetPAB(&size, &entry), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(book.SetPAB(SizeOf(id), EntryIn(id)), E_FAIL);

  ULONG rows = 9;
  EXPECT_EQ(table->GetRowCount(0, &rows), S_OK);
  EXPECT_EQ(rows, 2u);
  EXPECT_EQ(container.GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, empty.Put()), S_OK);
  EXPECT_EQ(empty->GetRowCount(0, &rows), S_OK);
  EXPECT_EQ(rows, 0u);
  EXPECT_EQ(container.DeleteEntries(&entries, 0), S_OK);
  EXPECT_EQ(container.OpenEntry(20, EntryIn(id), nullptr, 0, &type, object.Put()), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(TakeLog(), std::vector<std::string>{});
}

TEST_F(AddrBookTest, NeedsProvidersAndAProfile) {
  ComPtr<AddrBook> book;
  EXPECT_EQ(AddrBook::Create(nullptr, kAppKey, kProfile, book), E_INVALIDARG);
  EXPECT_EQ(AddrBook::Create(state_.providers, kAppKey, UAB_TEXT(""), book), E_FAIL);
  EXPECT_EQ(AddrBook::Create(state_.providers, kAppKey, nullptr, book), E_FAIL);
  EXPECT_FALSE(book);
}

}  // namespace
}  // namespace uab
