// Search path, personal address book and default directory, from session to session.
#include "addrbook/settings.h"

#include <gtest/gtest.h>

#include "addrbook/address_book_fixture.h"
#include "profiles/profile_store.h"
#include "support/values.h"
#include "tables/registry_persistence.h"

namespace uab {
namespace {

class SettingsTest : public AddressBookTest {
 protected:
  std::string Get(bool directory, HRESULT expected = S_OK) {
    ULONG size = 9;
    ChainPtr<ENTRYID> entry;
    EXPECT_EQ(directory ? state_.book->GetDefaultDir(&size, entry.Put()) : state_.book->GetPAB(&size, entry.Put()),
              expected);
    EXPECT_EQ(size == 0, !entry);
    return entry ? Bytes(entry.Get(), size).substr(20) : "";
  }
  HRESULT SetPAB(const std::string& id) { return state_.book->SetPAB(SizeOf(id), EntryIn(id)); }
  HRESULT SetDirectory(const std::string& id) { return state_.book->SetDefaultDir(SizeOf(id), EntryIn(id)); }

  // A word is a container, one with '!' a row whose first value is something else, "-" one without values.
  HRESULT SetSearchPath(const std::vector<std::string>& words) {
    std::vector<SPropValue> values(words.size());
    std::vector<std::string> ids(words.size());
    std::vector<ULONG_PTR> block(1 + 2 * words.size());
    auto* rows = reinterpret_cast<SRowSet*>(block.data());
    rows->cRows = static_cast<ULONG>(words.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
      ids[i] = IdOf(static_cast<char>(words[i][0] - 'a' + 'A'), words[i]);
      values[i] = BinaryValue(words[i].back() == '!' ? PR_SEARCH_KEY : PR_ENTRYID, ids[i].data(), SizeOf(ids[i]));
      rows->aRow[i] = words[i] == "-" ? SRow{0, 1, nullptr} : SRow{0, 1, &values[i]};
    }
    return state_.book->SetSearchPath(0, rows);
  }

  // What the profile's key holds, by identifier: "3d05=a1,b1 3d07=a2".
  std::string Stored() {
    UniqueKey key;
    PropList list;
    EXPECT_EQ(OpenProfileKey(kAppKey, kProfile, ProfileKeyMode::kOpen, key), S_OK);
    EXPECT_EQ(LoadList(list, key.Get()), S_OK);
    std::string text;
    for (ULONG tag : {PR_AB_SEARCH_PATH, PR_AB_DEFAULT_DIR, PR_AB_DEFAULT_PAB}) {
      const PropNode* node = list.Find(tag);
      if (node == nullptr) continue;
      ChainPtr<SPropValue> value;
      EXPECT_EQ(AllocateInto(value), S_OK);
      EXPECT_EQ(ReadPropRecord(node->record, value.Get(), *value.Get()), S_OK);
      const SBinaryArray one = {1, &value->Value.bin};
      const SBinaryArray& members = tag == PR_AB_SEARCH_PATH ? value->Value.MVbin : one;
      text += tag == PR_AB_SEARCH_PATH ? "path" : tag == PR_AB_DEFAULT_DIR ? "dir" : "pab";
      for (ULONG i = 0; i < members.cValues; ++i)
        (text += " ") += Bytes(members.lpbin[i].lpb, members.lpbin[i].cb).substr(20);
      text += ";";
    }
    return text;
  }
  void Store(const SPropValue& value) {
    UniqueKey key;
    PropList list;
    ASSERT_EQ(OpenProfileKey(kAppKey, kProfile, ProfileKeyMode::kCreate, key), S_OK);
    ASSERT_EQ(list.Set(value), S_OK);
    ASSERT_EQ(SaveList(list, key.Get()), S_OK);
  }
};

TEST_F(SettingsTest, DefaultsComeFromTheHierarchyAndAreNotSaved) {
  EXPECT_EQ(SearchPath(), "a1 a2 b1 b2");
  EXPECT_EQ(Get(false), "a2");
  EXPECT_EQ(Get(true), "a1");
  state_.LogOff();
  EXPECT_EQ(Stored(), "");
}

TEST_F(SettingsTest, WhatIsSetStaysFromSessionToSession) {
  EXPECT_EQ(SetSearchPath({"b1", "a1!", "-", "b", "a2", "b1"}), S_OK);
  EXPECT_EQ(SearchPath(), "b1 a2 b1");
  EXPECT_EQ(SetPAB(IdOf('B', "b2")), S_OK);
  EXPECT_EQ(SetDirectory(IdOf('B', "b1")), S_OK);
  LogOnAgain();
  EXPECT_EQ(SearchPath(), "b1 a2 b1");
  EXPECT_EQ(Get(false), "b2");
  EXPECT_EQ(Get(true), "b1");
  EXPECT_EQ(Stored(), "path b1 a2 b1;dir b1;pab b2;");
}

// Another program changes the profile while the session lasts.
TEST_F(SettingsTest, WhatIsStoredAndStillFitsIsNotWrittenAgain) {
  ASSERT_EQ(SetSearchPath({"b1", "a2"}), S_OK);
  ASSERT_EQ(SetPAB(IdOf('B', "b2")), S_OK);
  LogOnAgain();
  EXPECT_EQ(Get(false), "b2");
  std::string id = IdOf('A', "a1");
  SBinary member = {SizeOf(id), reinterpret_cast<BYTE*>(id.data())};
  SPropValue path{};
  path.ulPropTag = PR_AB_SEARCH_PATH;
  path.Value.MVbin = {1, &member};
  Store(path);
  Store(BinaryValue(PR_AB_DEFAULT_PAB, id.data(), SizeOf(id)));
  EXPECT_EQ(SetDirectory(IdOf('B', "b1")), S_OK);
  state_.LogOff();
  EXPECT_EQ(Stored(), "path a1;dir b1;pab a1;");
}

TEST_F(SettingsTest, RefusesWhatDoesNotFitAndKeepsTheOld) {
  for (const std::string& id :
       {IdOf('A', "a1"), IdOf('A', "x"), IdOf('C', "a2"), std::string("brief"), std::string()}) {
    EXPECT_EQ(SetPAB(id), E_FAIL) << id;
  }
  EXPECT_EQ(state_.book->SetPAB(24, nullptr), E_FAIL);
  EXPECT_EQ(SetDirectory(IdOf('A', "a")), E_FAIL);
  EXPECT_EQ(SetSearchPath({"a", "b", "a1!"}), E_INVALIDARG);
  EXPECT_EQ(SetSearchPath({}), E_INVALIDARG);
  ULONG size = 0;
  EXPECT_EQ(state_.book->GetDefaultDir(&size, nullptr), E_INVALIDARG);
  EXPECT_EQ(SearchPath(), "a1 a2 b1 b2");
  state_.LogOff();
  EXPECT_EQ(Stored(), "");
}

TEST_F(SettingsTest, AStoredPathIsShortenedToWhatStillFits) {
  ASSERT_EQ(SetSearchPath({"b1", "a1", "a2"}), S_OK);
  state_.LogOff();
  state_.a.containers[1].flags = 0;
  ASSERT_EQ(state_.LogOn(), S_OK);
  EXPECT_EQ(SearchPath(), "b1 a2");
  EXPECT_EQ(Stored(), "path b1 a1 a2;");
  state_.LogOff();
  EXPECT_EQ(Stored(), "path b1 a2;");
  for (ScriptedContainer* container : {&state_.a.containers[2], &state_.b.containers[1]}) container->flags = 0;
  ASSERT_EQ(state_.LogOn(), S_OK);
  EXPECT_EQ(SearchPath(), "b2") << "the default for this session";
  state_.b.containers[2].flags = 0;
  LogOnAgain();
  EXPECT_EQ(SearchPath(), "");
  state_.LogOff();
  EXPECT_EQ(Stored(), "path b1 a2;");
}

TEST_F(SettingsTest, AContainerThatNoLongerFitsIsReplacedForTheSession) {
  ASSERT_EQ(SetPAB(IdOf('A', "a2")), S_OK);
  LogOnAgain();
  state_.a.containers[2].flags = AB_RECIPIENTS;
  EXPECT_EQ(Get(false), "b2");
  state_.a.containers[2].flags = AB_MODIFIABLE;
  EXPECT_EQ(Get(false), "b2") << "stays for the session";
  LogOnAgain();
  EXPECT_EQ(Get(false), "a2");
  for (ScriptedProvider* provider : {&state_.a, &state_.b}) provider->containers[2].flags = 0;
  EXPECT_EQ(Get(false, E_FAIL), "");
  Countdown lasting(1, true);
  state_.calls.countdown = &lasting;
  EXPECT_EQ(Get(false, kProviderFailure), "");
  state_.calls.countdown = nullptr;
}

TEST_F(SettingsTest, StoredValuesOfOtherTypesCountAsNone) {
  state_.LogOff();
  Store(LongValue(WithPropType(PR_AB_SEARCH_PATH, PT_LONG), 1));
  Store(LongValue(WithPropType(PR_AB_DEFAULT_PAB, PT_LONG), 1));
  SPropValue empty{};
  empty.ulPropTag = PR_AB_DEFAULT_DIR;
  Store(empty);
  ASSERT_EQ(state_.LogOn(), S_OK);
  EXPECT_EQ(SearchPath(), "a1 a2 b1 b2");
  EXPECT_EQ(Get(false), "a2");
  EXPECT_EQ(Get(true), "a1");
}

// Placeholders, other types and missing columns in the hierarchy, and containers that tell no flags.
TEST_F(SettingsTest, RowsOfProvidersAreNotTrusted) {
  const std::function<void(SPropValue*, ULONG*)> spoilers[] = {
      [](SPropValue* values, ULONG* count) {
        if (*count > 1) values[1] = SPropValue{WithPropType(PR_ENTRYID, PT_ERROR), 0, {}};
      },
      [](SPropValue* values, ULONG* count) {
        if (*count > 1) values[1].Value.bin = {0, nullptr};
      },
      [](SPropValue* values, ULONG* count) {
        if (*count == 1) return;
        values[1].ulPropTag = WithPropType(PR_ENTRYID, PT_UNICODE);
        values[1].Value = values[0].Value;
      },
      [](SPropValue* values, ULONG* count) { values[*count > 3 ? 3 : 0].ulPropTag = PR_NULL; },
      [](SPropValue*, ULONG* count) { *count = *count > 3 ? 3 : 0; },
  };
  ASSERT_EQ(SetPAB(IdOf('B', "b2")), S_OK);
  for (const auto& spoil : spoilers) {
    state_.calls.spoil = spoil;
    EXPECT_EQ(Get(true, E_FAIL), "");
  }
  state_.calls.spoil = nullptr;
  state_.calls.stores_nothing = true;
  EXPECT_EQ(Get(false, E_FAIL), "");
  EXPECT_EQ(SetPAB(IdOf('A', "a2")), E_FAIL);
  state_.calls.stores_nothing = false;
  EXPECT_EQ(Get(false), "b2");
}

}  // namespace
}  // namespace uab
