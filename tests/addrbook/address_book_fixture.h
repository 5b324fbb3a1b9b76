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

// Names of a search path's or hierarchy's members by their identifiers, with the depth where there is one: "a1 b1:0".
// "?": neither.
std::string NamesIn(const SRowSet* rows);

class AddressBookTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  void LogOn();
  void LogOff();  // the session ends
  Log TakeLog() { return calls_.TakeLog(); }
  std::string SearchPath();
  template <typename Spoil>
  void SpoilWith(Spoil spoil) {
    calls_.spoil = [spoil](const std::string&, SPropValue*& values, ULONG& count) { spoil(values, count); };
  }

  TestHive hive_;
  FakeProvider a_{'A', "a"}, b_{'B', "b", a_.calls};
  FakeCalls& calls_ = *a_.calls;
  ComPtr<ProviderList> providers_;
  ComPtr<AddrBook> book_;
};

}  // namespace uab
