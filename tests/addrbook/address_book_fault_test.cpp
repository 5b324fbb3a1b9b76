// A session's use of the address book with the n-th allocation, system call or provider call failing.
#include "addrbook/address_book_fixture.h"
#include "support/failure_sweep.h"

namespace uab {
namespace {

// Every operation once; the first failure is the result.
HRESULT UseAddressBook(AddressBookState& state) {
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
  return first;
}

struct LoggedOn : AddressBookState {
  LoggedOn() { EXPECT_EQ(LogOn(), S_OK); }
};

constexpr SweepOptions kSavesAtTheEnd = {.release_may_allocate = true};

TEST(AddressBookFault, AfterRunningOutOfMemoryAllIsUsableAgain) {
  TestHive hive;
  ForEachAllocationFailure([] { return std::make_unique<LoggedOn>(); },
                           [](std::unique_ptr<LoggedOn>& state) { return UseAddressBook(*state); },
                           [](std::unique_ptr<LoggedOn>& state, HRESULT) {
                             EXPECT_EQ(UseAddressBook(*state), S_OK) << "all is as before, or as after";
                             state->LogOff();
                             EXPECT_EQ(state->held(), 0u);
                           },
                           kSavesAtTheEnd);
}

TEST(AddressBookFault, LogOnOutOfMemoryOrWithoutTheRegistry) {
  TestHive hive;
  auto log_on = [](std::unique_ptr<AddressBookState>& state) { return state->LogOn(); };
  auto check = [](std::unique_ptr<AddressBookState>& state, HRESULT hr) {
    EXPECT_EQ(static_cast<bool>(state->book), Succeeded(hr));
    state->LogOff();
    EXPECT_EQ(state->held(), 0u);
  };
  auto prepare = [] { return std::make_unique<AddressBookState>(); };
  ForEachAllocationFailure(prepare, log_on, check, kSavesAtTheEnd);
  ForEachSystemCallFailure(prepare, log_on, check, kSavesAtTheEnd);
}

TEST(AddressBookFault, PreparedRecipientsStayWholeOutOfMemory) {
  TestHive hive;
  struct Input {
    LoggedOn state;
    AdrListPtr list;
  };
  auto prepare = [] {
    auto input = std::make_unique<Input>();
    std::vector<std::vector<SPropValue>> recipients;
    const std::string ids[] = {FakeId('B'), FakeId('C'), FakeId('A'), FakeId('C')};
    for (const std::string& id : ids) recipients.push_back({BinaryValue(PR_ENTRYID, id.data(), SizeOf(id))});
    input->list = MakeAdrList(recipients);
    return input;
  };
  auto act = [](std::unique_ptr<Input>& input) {
    TagArray<1> tags = {1, {PR_EMAIL_ADDRESS_W}};
    return input->state.book->PrepareRecips(0, tags.address(), input->list.Get());
  };
  ForEachAllocationFailure(prepare, act, [](std::unique_ptr<Input>& input, HRESULT hr) {
    EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY) << std::hex << hr;
    std::string letters;
    for (ULONG i = 0; i < input->list->cEntries; ++i) {
      const ADRENTRY& entry = input->list->aEntries[i];
      letters += static_cast<char>(EntryIdOf(entry.rgPropVals, entry.cValues)[4]);
    }
    EXPECT_EQ(letters, hr == S_OK ? "ABCC" : "BCAC");
  });
}

TEST(AddressBookFault, EveryCallOfAProviderMayBeDoneBadly) {
  TestHive hive;
  for (Misdeed misdeed : kMisdeeds) {
    bool misbehaved = true;
    for (std::uint32_t call = 1; misbehaved; ++call) {
      SCOPED_TRACE(testing::Message() << "misdeed " << static_cast<int>(misdeed) << ", call " << call);
      HeapWatch watch;
      {
        LoggedOn state;
        state.calls->DoBadly(call, misdeed);
        UseAddressBook(state);
        misbehaved = state.calls->misbehaved();
        state.calls->DoBadly(0);
        EXPECT_EQ(UseAddressBook(state), S_OK) << "all is as before, or as after";
        state.LogOff();
        EXPECT_EQ(state.held(), 0u);
      }
      EXPECT_EQ(watch.live(), 0u) << watch.Describe();
      if (testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace uab
