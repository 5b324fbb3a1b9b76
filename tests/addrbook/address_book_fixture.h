// An address book over two fake providers, A in front of B in the list, each with a top-level container and two below.
#pragma once

#include <gtest/gtest.h>

#include "addrbook/addr_book.h"
#include "support/adr_list.h"
#include "support/fake_provider.h"
#include "support/hive.h"
#include "support/values.h"

namespace uab {

inline constexpr WCHAR kAppKey[] = UAB_TEXT("Test");
inline constexpr WCHAR kProfile[] = UAB_TEXT("Profile");
using Log = std::vector<std::string>;

struct AddressBookState {
  AddressBookState();
  ~AddressBookState() { LogOff(); }

  // The provider's entry becomes the first, with its identifier registered.
  HRESULT Push(FakeProvider& provider, ComPtr<ProviderSupport>* support = nullptr);
  HRESULT LogOn();
  void LogOff();  // the session ends
  ULONG held() const { return a.held() + b.held(); }

  std::shared_ptr<FakeCalls> calls = std::make_shared<FakeCalls>();
  FakeProvider a{'A', "a", calls}, b{'B', "b", calls};
  ComPtr<ProviderList> providers;
  ComPtr<AddrBook> book;
};

// Names of a search path's or hierarchy's members by their identifiers, with the depth where there is one: "a1 b1:0".
// "?": neither.
std::string NamesIn(const SRowSet* rows);

class AddressBookTest : public testing::Test {
 protected:
  void SetUp() override {
    calls_.logs = true;
    ASSERT_EQ(state_.LogOn(), S_OK);
  }
  void TearDown() override {
    state_.LogOff();
    EXPECT_EQ(state_.held(), 0u);
  }
  // The session ends and another one begins.
  void LogOnAgain() {
    state_.LogOff();
    state_.book.Reset();
    ASSERT_EQ(state_.LogOn(), S_OK);
  }
  Log TakeLog() { return calls_.TakeLog(); }
  std::string SearchPath();
  template <typename Spoil>
  void SpoilWith(Spoil spoil) {
    calls_.spoil = [spoil](const std::string&, SPropValue*& values, ULONG& count) { spoil(values, count); };
  }

  TestHive hive_;
  AddressBookState state_;
  FakeCalls& calls_ = *state_.calls;
};

}  // namespace uab
