// Search path, personal address book and default directory, from session to session.
#include "addrbook/settings.h"

#include "addrbook/address_book_fixture.h"

namespace uab {
namespace {

class SettingsTest : public AddressBookTest {
 protected:
  std::string Get(bool directory, HRESULT expected = S_OK) {
    ULONG size = 9;
    ChainPtr<ENTRYID> entry;
    EXPECT_EQ(directory ? book_->GetDefaultDir(&size, entry.Put()) : book_->GetPAB(&size, entry.Put()), expected);
    EXPECT_EQ(size == 0, !entry);
    return entry ? Bytes(entry.Get(), size).substr(20) : "";
  }
  HRESULT SetPAB(const std::string& id) { return book_->SetPAB(SizeOf(id), EntryIn(id)); }
  HRESULT SetDirectory(const std::string& id) { return book_->SetDefaultDir(SizeOf(id), EntryIn(id)); }

  // A word is a container, one with '!' a row whose first value is something else, "-" one without values.
  HRESULT SetSearchPath(const std::vector<std::string>& words) {
    std::vector<SPropValue> values(words.size());
    std::vector<std::string> ids(words.size());
    std::vector<ULONG_PTR> block(1 + 2 * words.size());
    auto* rows = reinterpret_cast<SRowSet*>(block.data());
    rows->cRows = static_cast<ULONG>(words.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
      ids[i] = FakeId(static_cast<char>(words[i][0] - 'a' + 'A'), words[i]);
      values[i] = BinaryValue(words[i].back() == '!' ? PR_SEARCH_KEY : PR_ENTRYID, ids[i].data(), SizeOf(ids[i]));
      rows->aRow[i] = words[i] == "-" ? SRow{0, 1, nullptr} : SRow{0, 1, &values[i]};
    }
    return book_->SetSearchPath(0, rows);
  }

  // What the profile holds: "path a1 b1;dir a1;pab a2;".
  std::string Stored() {
    Settings settings;
    EXPECT_EQ(settings.Load(kAppKey, kProfile), S_OK);
    std::string text;
    for (auto [tag, name] :
         {std::pair(PR_AB_SEARCH_PATH, "path"), {PR_AB_DEFAULT_DIR, "dir"}, {PR_AB_DEFAULT_PAB, "pab"}}) {
      ChainPtr<SPropValue> value;
      if (Failed(settings.Read(tag, value))) continue;
      const SBinaryArray one = {1, &value->Value.bin};
      const SBinaryArray& members = tag == PR_AB_SEARCH_PATH ? value->Value.MVbin : one;
      text += name;
      for (ULONG i = 0; i < members.cValues; ++i) {
        (text += " ") += Bytes(members.lpbin[i].lpb, members.lpbin[i].cb).substr(20);
      }
      text += ";";
    }
    return text;
  }
  static void Store(const SPropValue& value) {
    Settings settings;
    ASSERT_EQ(settings.Load(kAppKey, kProfile), S_OK);
    ASSERT_EQ(settings.Set(value), S_OK);
    settings.Save();
  }
};

// Another program changes the profile while the session lasts.
TEST_F(SettingsTest, WhatIsStoredAndStillFitsIsNotWrittenAgain) {
  ASSERT_EQ(SetSearchPath({"b1", "a2"}), S_OK);
  ASSERT_EQ(SetPAB(FakeId('B', "b2")), S_OK);
  LogOn();
  EXPECT_EQ(Get(false), "b2");
  std::string id = FakeId('A', "a1");
  SBinary member = BinaryIn(id);
  SPropValue path{};
  path.ulPropTag = PR_AB_SEARCH_PATH;
  path.Value.MVbin = {1, &member};
  Store(path);
  Store(BinaryValue(PR_AB_DEFAULT_PAB, id.data(), SizeOf(id)));
  EXPECT_EQ(SetDirectory(FakeId('B', "b1")), S_OK);
  LogOff();
  EXPECT_EQ(Stored(), "path a1;dir b1;pab a1;");
}

TEST_F(SettingsTest, RefusesWhatDoesNotFitAndKeepsTheOld) {
  for (const std::string& id :
       {FakeId('A', "a1"), FakeId('A', "x"), FakeId('C', "a2"), std::string("brief"), std::string()}) {
    EXPECT_EQ(SetPAB(id), E_FAIL) << id;
  }
  EXPECT_EQ(book_->SetPAB(24, nullptr), E_FAIL);
  EXPECT_EQ(SetDirectory(FakeId('A', "a")), E_FAIL);
  EXPECT_EQ(SetSearchPath({"a", "b", "a1!"}), E_INVALIDARG);
  EXPECT_EQ(SetSearchPath({}), E_INVALIDARG);
  ULONG size = 0;
  EXPECT_EQ(book_->GetDefaultDir(&size, nullptr), E_INVALIDARG);
  EXPECT_EQ(SearchPath(), "a1 a2 b1 b2");
  LogOff();
  EXPECT_EQ(Stored(), "");
}

TEST_F(SettingsTest, AStoredPathIsShortenedToWhatStillFits) {
  ASSERT_EQ(SetSearchPath({"b1", "a1", "a2"}), S_OK);
  a_.SetFlags("a1", 0);
  LogOn();
  EXPECT_EQ(SearchPath(), "b1 a2");
  EXPECT_EQ(Stored(), "path b1 a1 a2;");
  LogOff();
  EXPECT_EQ(Stored(), "path b1 a2;");
  a_.SetFlags("a2", 0);
  b_.SetFlags("b1", 0);
  LogOn();
  EXPECT_EQ(SearchPath(), "b2") << "the default for this session";
  b_.SetFlags("b2", 0);
  LogOn();
  EXPECT_EQ(SearchPath(), "");
  LogOff();
  EXPECT_EQ(Stored(), "path b1 a2;");
}

TEST_F(SettingsTest, AContainerThatNoLongerFitsIsReplacedForTheSession) {
  ASSERT_EQ(SetPAB(FakeId('A', "a2")), S_OK);
  LogOn();
  a_.SetFlags("a2", AB_RECIPIENTS);
  EXPECT_EQ(Get(false), "b2");
  a_.SetFlags("a2", AB_MODIFIABLE);
  EXPECT_EQ(Get(false), "b2") << "stays for the session";
  LogOn();
  EXPECT_EQ(Get(false), "a2");
  a_.SetFlags("a2", 0);
  b_.SetFlags("b2", 0);
  EXPECT_EQ(Get(false, E_FAIL), "");
  calls_.DoBadly(1, Misdeed::kFails, true);
  EXPECT_EQ(Get(false, kFakeFailure), "");
}

TEST_F(SettingsTest, ADefaultReplacesNoChoiceMadeMeanwhileAndIsKeptOnlyWhereItFits) {
  a_.on_call = [&](std::string_view slot) {
    if (slot != "GetHierarchyTable") return;
    a_.on_call = nullptr;
    EXPECT_EQ(SetPAB(FakeId('B', "b2")), S_OK);
  };
  EXPECT_EQ(Get(false), "a2");
  EXPECT_EQ(Get(false), "b2");
  LogOff();
  EXPECT_EQ(Stored(), "pab b2;");
  LogOn();
  bool unlucky = true;
  calls_.spoil = [&](const std::string& name, SPropValue*& values, ULONG& count) {  // not what the hierarchy says of it
    if (count == 1 && (name == "a2" || (name == "b2" && unlucky))) values[0].Value.ul = 0;
  };
  EXPECT_EQ(Get(false), "a2");
  unlucky = false;
  EXPECT_EQ(Get(false), "b2");
  calls_.spoil = nullptr;
}

TEST_F(SettingsTest, StoredValuesOfOtherTypesCountAsNone) {
  LogOff();
  Store(LongValue(WithPropType(PR_AB_SEARCH_PATH, PT_LONG), 1));
  Store(LongValue(WithPropType(PR_AB_DEFAULT_PAB, PT_LONG), 1));
  SPropValue empty{};
  empty.ulPropTag = PR_AB_DEFAULT_DIR;
  Store(empty);
  LogOn();
  EXPECT_EQ(SearchPath(), "a1 a2 b1 b2");
  EXPECT_EQ(Get(false), "a2");
  EXPECT_EQ(Get(true), "a1");
}

}  // namespace
}  // namespace uab
