#include "addrbook/advise_list.h"

#include <gtest/gtest.h>

#include "addrbook/address_book_fixture.h"

namespace uab {
namespace {

using Log = std::vector<std::string>;

class AdviseListTest : public AddressBookTest {
 protected:
  ULONG Advise(char letter, HRESULT expected = S_OK) {
    const std::string id = IdOf(letter, "a1");
    ULONG room[2] = {9, 9};
    EXPECT_EQ(state_.book->Advise(SizeOf(id), EntryIn(id), 3, nullptr, room), expected);
    EXPECT_EQ(room[1], 9u) << "the caller's number has 32 bits";
    return room[0];
  }
};

TEST_F(AdviseListTest, NumbersRiseAndAreNeverReused) {
  EXPECT_EQ(Advise('A'), 1u);
  EXPECT_EQ(Advise('B'), 2u);
  TakeLog();
  EXPECT_EQ(state_.book->Unadvise(1), S_OK);
  EXPECT_EQ(TakeLog(), Log{"A.Unadvise 70"});
  for (ULONG unknown : {0u, 1u, 3u}) EXPECT_EQ(state_.book->Unadvise(unknown), MAPI_E_NOT_FOUND) << unknown;
  EXPECT_EQ(Advise('A'), 3u);
  EXPECT_EQ(state_.book->Advise(0, nullptr, 0, nullptr, nullptr), E_INVALIDARG);
}

TEST_F(AdviseListTest, AProvidersFailureLeavesNoConnectionOrNoneToWithdraw) {
  for (bool throws : {false, true}) {
    SCOPED_TRACE(throws);
    Countdown first(1), second(2);
    state_.calls.throws = throws;
    state_.calls.countdown = &first;
    EXPECT_EQ(Advise('A', throws ? E_FAIL : kProviderFailure), 0u);
    state_.calls.countdown = &second;
    const ULONG connection = Advise('A');
    EXPECT_EQ(state_.book->Unadvise(connection), S_OK) << "gone, whatever the provider says";
    EXPECT_EQ(state_.book->Unadvise(connection), MAPI_E_NOT_FOUND);
    state_.calls.countdown = nullptr;
  }
}

TEST_F(AdviseListTest, TheSessionsEndWithdrawsTheNewestFirst) {
  Advise('A');
  Advise('B');
  Advise('A');
  TakeLog();
  state_.LogOff();
  EXPECT_EQ(TakeLog(), (Log{"A.Unadvise 71", "B.Unadvise 70", "A.Unadvise 70"}));
}

TEST_F(AdviseListTest, AProviderMayCallBack) {
  const ULONG kept = Advise('B'), other = Advise('B');
  state_.a.on_call = [&] {
    state_.a.on_call = nullptr;
    Advise('B');
    EXPECT_EQ(state_.book->Unadvise(kept), S_OK);
  };
  Advise('A');
  // The session ends inside a provider's Advise, and again while the connections are withdrawn.
  state_.b.on_call = [&] {
    EXPECT_EQ(state_.book->Unadvise(other), MAPI_E_END_OF_SESSION);
    Advise('A', MAPI_E_END_OF_SESSION);
    state_.book->Detach();
  };
  state_.a.on_call = [&] {
    state_.a.on_call = nullptr;
    state_.book->Detach();
  };
  TakeLog();
  EXPECT_EQ(Advise('A', MAPI_E_END_OF_SESSION), 0u);
  EXPECT_EQ(TakeLog(), (Log{"A.Unadvise 70", "B.Unadvise 72", "B.Unadvise 71", "A.Advise", "A.Unadvise 71"}));
}

}  // namespace
}  // namespace uab
