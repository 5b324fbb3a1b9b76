#include "addrbook/advise_list.h"

#include "addrbook/address_book_fixture.h"

namespace uab {
namespace {

class AdviseListTest : public AddressBookTest {
 protected:
  ULONG Advise(char letter, HRESULT expected = S_OK) {
    const std::string id = FakeId(letter, "a1");
    ULONG room[2] = {9, 9};
    EXPECT_EQ(book_->Advise(SizeOf(id), EntryIn(id), 3, nullptr, room), expected);
    EXPECT_EQ(room[1], 9u) << "the caller's number has 32 bits";
    return room[0];
  }
};

TEST_F(AdviseListTest, NumbersRiseAndTheSessionsEndWithdrawsTheNewestFirst) {
  EXPECT_EQ(Advise('A'), 1u);
  EXPECT_EQ(Advise('B'), 2u);
  EXPECT_EQ(a_.held(), 2u) << "by the list, and by the connection";
  TakeLog();
  EXPECT_EQ(book_->Unadvise(1), S_OK);
  EXPECT_EQ(TakeLog(), Log{"A.Unadvise 100"});
  for (ULONG unknown : {0u, 1u, 3u}) EXPECT_EQ(book_->Unadvise(unknown), MAPI_E_NOT_FOUND) << unknown;
  EXPECT_EQ(Advise('A'), 3u);
  EXPECT_EQ(book_->Advise(0, nullptr, 0, nullptr, nullptr), E_INVALIDARG);
  TakeLog();
  LogOff();
  EXPECT_EQ(TakeLog(), (Log{"A.Unadvise 101", "B.Unadvise 100", "A.Release", "B.Release"}));
}

TEST_F(AdviseListTest, AProvidersFailureLeavesNoConnectionOrNoneToWithdraw) {
  for (bool throws : {false, true}) {
    SCOPED_TRACE(throws);
    const Misdeed misdeed = throws ? Misdeed::kThrows : Misdeed::kFails;
    calls_.DoBadly(1, misdeed);
    EXPECT_EQ(Advise('A', throws ? E_FAIL : kFakeFailure), 0u);
    calls_.DoBadly(2, misdeed);
    const ULONG connection = Advise('A');
    EXPECT_EQ(book_->Unadvise(connection), S_OK) << "gone, whatever the provider says";
    EXPECT_EQ(book_->Unadvise(connection), MAPI_E_NOT_FOUND);
  }
}

TEST_F(AdviseListTest, AProviderMayCallBack) {
  const ULONG kept = Advise('B'), other = Advise('B');
  auto& during_a = a_.on_call;
  during_a = [&](std::string_view) {
    during_a = nullptr;
    Advise('B');
    EXPECT_EQ(book_->Unadvise(kept), S_OK);
  };
  Advise('A');
  // The session ends inside a provider's Advise, and again while the connections are withdrawn.
  b_.on_call = [&](std::string_view) {
    EXPECT_EQ(book_->Unadvise(other), MAPI_E_END_OF_SESSION);
    Advise('A', MAPI_E_END_OF_SESSION);
    book_->Detach();
  };
  during_a = [&](std::string_view) {
    during_a = nullptr;
    book_->Detach();
  };
  TakeLog();
  EXPECT_EQ(Advise('A', MAPI_E_END_OF_SESSION), 0u);
  EXPECT_EQ(TakeLog(), (Log{"A.Advise", "A.Unadvise 100", "B.Unadvise 102", "B.Unadvise 101", "A.Unadvise 101"}));
  b_.on_call = nullptr;
}

}  // namespace
}  // namespace uab
