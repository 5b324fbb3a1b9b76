// A session's use of the address book with the n-th allocation, system call or provider call failing.
#include "addrbook/address_book_fixture.h"
#include "support/bad_calls.h"
#include "support/failure_sweep.h"

namespace uab {
namespace {

struct LoggedOn : AddressBookState {
  LoggedOn() {
    EXPECT_EQ(LogOn(), S_OK);
    const std::string ids[] = {FakeId('B'), FakeId('C'), FakeId('A'), FakeId('C')};
    std::vector<std::vector<SPropValue>> recipients;
    for (const std::string& id : ids) recipients.push_back({BinaryValue(PR_ENTRYID, id.data(), SizeOf(id))});
    list = MakeAdrList(recipients);
  }
  // Whose the recipients are, in the list's order.
  std::string Letters() const {
    std::string letters;
    for (ULONG i = 0; i < list->cEntries; ++i) {
      const ADRENTRY& entry = list->aEntries[i];
      letters += static_cast<char>(EntryIdOf(entry.rgPropVals, entry.cValues)[4]);
    }
    return letters;
  }

  AdrListPtr list;
};

// Every operation once; the first failure is the result.
HRESULT UseAddressBook(LoggedOn& state) {
  HRESULT first = S_OK;
  auto note = [&](HRESULT hr) {
    if (Failed(hr) && Succeeded(first)) first = hr;
    return Succeeded(hr);
  };
  IAddrBook& book = *state.book;
  std::string a2 = FakeId('A', "a2"), b1 = FakeId('B', "b1");
  ULONG type = 0, size = 0, connection = 0;
  ComPtr<IUnknown> object;
  ComPtr<IABContainer> root;
  ComPtr<IMAPITable> table;
  note(book.OpenEntry(SizeOf(b1), EntryIn(b1), nullptr, 0, &type, object.Put()));
  if (note(book.OpenEntry(0, nullptr, nullptr, 0, &type, reinterpret_cast<IUnknown**>(root.Put())))) {
    note(root->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, table.Put()));
    SBinary entries[] = {BinaryIn(a2), BinaryIn(b1)};
    ENTRYLIST list = {2, entries};
    note(root->DeleteEntries(&list, 0));
  }
  if (note(book.Advise(SizeOf(a2), EntryIn(a2), 0, nullptr, &connection))) note(book.Unadvise(connection));
  note(book.Advise(SizeOf(b1), EntryIn(b1), 0, nullptr, &connection));
  ChainPtr<ENTRYID> entry;
  note(book.GetPAB(&size, entry.Put()));
  note(book.SetPAB(SizeOf(a2), EntryIn(a2)));
  note(book.GetDefaultDir(&size, entry.Put()));
  RowSetPtr path;
  if (note(book.GetSearchPath(0, path.Put()))) note(book.SetSearchPath(0, path.Get()));
  TagArray<1> tags = {1, {PR_EMAIL_ADDRESS_W}};
  note(book.PrepareRecips(0, tags.address(), state.list.Get()));
  return first;
}

// All is as before or as after, and usable.
void CheckAndLogOff(LoggedOn& state) {
  EXPECT_TRUE(state.Letters() == "BCAC" || state.Letters() == "ABCC") << state.Letters();
  EXPECT_EQ(UseAddressBook(state), S_OK);
  EXPECT_EQ(state.Letters(), "ABCC");
  state.LogOff();
  EXPECT_EQ(state.held(), 0u);
}

TEST(AddressBookFault, AfterRunningOutOfMemoryAllIsUsableAgain) {
  TestHive hive;
  ForEachAllocationFailure([] { return std::make_unique<LoggedOn>(); },
                           [](std::unique_ptr<LoggedOn>& state) { return UseAddressBook(*state); },
                           [](std::unique_ptr<LoggedOn>& state, HRESULT) { CheckAndLogOff(*state); },
                           {.release_may_allocate = true});  // it saves what has changed
}

TEST(AddressBookFault, EveryCallOfAProviderMayBeDoneBadly) {
  TestHive hive;
  ForEachBadCall(kMisdeeds, [](std::uint32_t call, Misdeed misdeed) {
    LoggedOn state;
    state.calls->DoBadly(call, misdeed);
    UseAddressBook(state);
    const bool misbehaved = state.calls->misbehaved();
    state.calls->DoBadly(0);
    CheckAndLogOff(state);
    return misbehaved;
  });
}

}  // namespace
}  // namespace uab
