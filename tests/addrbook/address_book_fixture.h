// An address book over two fake providers, A in front of B in the list, each with a top-level container and two below.
#pragma once

#include <gtest/gtest.h>

#include "addrbook/addr_book.h"
#include "addrbook/scripted_provider.h"
#include "support/hive.h"

namespace uab {

inline constexpr WCHAR kAppKey[] = UAB_TEXT("Test");
inline constexpr WCHAR kProfile[] = UAB_TEXT("Profile");

struct AddressBookState {
  AddressBookState() {
    for (ScriptedProvider* provider : {&b, &a}) {
      const std::string name(1, static_cast<char>(provider->letter + 'a' - 'A'));
      provider->Add(name, 0);
      provider->Add(name + "1", AB_RECIPIENTS);
      provider->Add(name + "2", AB_RECIPIENTS | AB_MODIFIABLE);
    }
  }

  // The provider's entry becomes the first; with the letters' identifiers registered.
  HRESULT Push(ScriptedProvider& provider, const std::string& letters, ComPtr<ProviderSupport>* support = nullptr);
  HRESULT LogOn();
  // The session ends.
  void LogOff() {
    if (book) book->Detach();
    if (providers) providers->FreeEntries();
  }
  ~AddressBookState() { LogOff(); }

  ULONG references_left() const { return a.references_left() + b.references_left(); }

  ProviderCalls calls;
  ScriptedProvider a{calls, 'A'};
  ScriptedProvider b{calls, 'B'};
  ComPtr<ProviderList> providers;
  ComPtr<AddrBook> book;
};

// Identifiers as slots take them; borrows the string.
inline ENTRYID* EntryIn(const std::string& id) { return reinterpret_cast<ENTRYID*>(const_cast<char*>(id.data())); }
inline ULONG SizeOf(const std::string& id) { return static_cast<ULONG>(id.size()); }

// Names of a search path's or hierarchy's members by their identifiers, with the depth where there is one: "a1 b1:0".
// "?": neither.
std::string NamesIn(const SRowSet* rows);

class AddressBookTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(state_.LogOn(), S_OK); }
  void TearDown() override {
    state_.LogOff();
    EXPECT_EQ(state_.references_left(), 0u);
  }
  // The session ends and another one begins.
  void LogOnAgain() {
    state_.LogOff();
    state_.book.Reset();
    ASSERT_EQ(state_.LogOn(), S_OK);
  }
  std::vector<std::string> TakeLog() { return std::exchange(state_.calls.log, {}); }
  std::string SearchPath();

  TestHive hive_;
  AddressBookState state_;
};

}  // namespace uab
