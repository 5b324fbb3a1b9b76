// A session's use of the address book with the n-th allocation, system call or provider call failing.
#include <gtest/gtest.h>

#include <cstring>

#include "addrbook/address_book_fixture.h"
#include "profiles/profile_store.h"
#include "support/failure_sweep.h"
#include "support/values.h"

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
  std::string a2 = IdOf('A', "a2"), b1 = IdOf('B', "b1");
  ULONG type = 0, size = 0, connection = 0;
  ComPtr<IUnknown> object;
  ComPtr<IABContainer> root;
  ComPtr<IMAPITable> table;
  note(book.OpenEntry(SizeOf(b1), EntryIn(b1), nullptr, 0, &type, object.Put()));
  if (note(book.OpenEntry(0, nullptr, nullptr, 0, &type, reinterpret_cast<IUnknown**>(root.Put())))) {
    note(root->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, table.Put()));
    SBinary entries[] = {{SizeOf(a2), reinterpret_cast<BYTE*>(a2.data())},
                         {SizeOf(b1), reinterpret_cast<BYTE*>(b1.data())}};
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
                             EXPECT_EQ(state->references_left(), 0u);
                           },
                           kSavesAtTheEnd);
}

TEST(AddressBookFault, LogOnOutOfMemoryOrWithoutTheRegistry) {
  TestHive hive;
  auto log_on = [](std::unique_ptr<AddressBookState>& state) { return state->LogOn(); };
  auto check = [](std::unique_ptr<AddressBookState>& state, HRESULT hr) {
    EXPECT_EQ(static_cast<bool>(state->book), Succeeded(hr));
    state->LogOff();
    EXPECT_EQ(state->references_left(), 0u);
  };
  auto prepare = [] { return std::make_unique<AddressBookState>(); };
  ForEachAllocationFailure(prepare, log_on, check, kSavesAtTheEnd);
  ForEachSystemCallFailure(prepare, log_on, check, kSavesAtTheEnd);
}

TEST(AddressBookFault, PreparedRecipientsStayWholeOutOfMemory) {
  TestHive hive;
  struct Input {
    Input() {
      for (char letter : {'B', 'C', 'A', 'C'}) {
        SPropValue* values = nullptr;
        const std::string id = IdOf(letter);
        EXPECT_EQ(AllocateHead(sizeof(SPropValue) + id.size(), reinterpret_cast<void**>(&values)), S_OK);
        std::memcpy(values + 1, id.data(), id.size());
        *values = BinaryValue(PR_ENTRYID, values + 1, SizeOf(id));
        list.aEntries[list.cEntries++] = {0, 1, values};
      }
    }
    ~Input() {
      for (ULONG i = 0; i < 4; ++i) UABFreeBuffer(list.aEntries[i].rgPropVals);
    }
    LoggedOn state;
    union {
      ADRLIST list = {};
      ULONG_PTR room[1 + 2 * 4];
    };
  };
  ForEachAllocationFailure([] { return std::make_unique<Input>(); },
                           [](std::unique_ptr<Input>& input) {
                             TagArray<1> tags = {1, {PR_EMAIL_ADDRESS_W}};
                             return input->state.book->PrepareRecips(0, tags.address(), &input->list);
                           },
                           [](std::unique_ptr<Input>& input, HRESULT hr) {
                             EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY) << std::hex << hr;
                             std::string letters;
                             for (ULONG i = 0; i < input->list.cEntries; ++i) {
                               const ADRENTRY& entry = input->list.aEntries[i];
                               for (ULONG at = 0; at < entry.cValues; ++at) {
                                 if (entry.rgPropVals[at].ulPropTag != PR_ENTRYID) continue;
                                 letters += static_cast<char>(entry.rgPropVals[at].Value.bin.lpb[4]);
                               }
                             }
                             EXPECT_EQ(letters, hr == S_OK ? "ABCC" : "BCAC");
                           });
}

TEST(AddressBookFault, EveryCallOfAProviderMayFailOrThrow) {
  TestHive hive;
  for (bool throws : {false, true}) {
    for (std::uint32_t call = 1;; ++call) {
      LoggedOn state;
      Countdown countdown(call);
      state.calls.throws = throws;
      state.calls.countdown = &countdown;
      UseAddressBook(state);
      state.LogOff();
      ASSERT_EQ(state.references_left(), 0u) << call;
      if (countdown.refused() == 0) break;
      ASSERT_LT(call, 1000u);
    }
  }
}

}  // namespace
}  // namespace uab
