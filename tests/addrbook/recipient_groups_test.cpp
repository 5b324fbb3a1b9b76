#include "addrbook/recipient_groups.h"

#include "addrbook/address_book_fixture.h"

namespace uab {
namespace {

// A recipient is two characters: its name, kept as its recipient type, and the owner's letter. '-': without
// identifier, '.': with one that is too short, 'T': with a text in its place.
std::vector<SPropValue> ValuesOf(const char* word, const std::string& id, const char* mark = "") {
  const SPropValue name = LongValue(PR_RECIPIENT_TYPE, word[0]);
  if (word[1] == '-') return {name, LongValue(PR_DISPLAY_TYPE, *mark)};
  if (word[1] == 'T') return {name, TextValue(WithPropType(PR_ENTRYID, PT_UNICODE), UAB_TEXT("a text of some length"))};
  return {name, BinaryValue(PR_ENTRYID, id.data(), word[1] == '.' ? 19 : SizeOf(id))};
}

AdrListPtr MakeList(const std::vector<const char*>& words) {
  std::vector<std::vector<SPropValue>> entries;
  std::vector<std::string> ids(words.size());
  for (std::size_t i = 0; i < words.size(); ++i) {
    ids[i] = FakeId(words[i][1] == '.' ? 'A' : words[i][1]);
    entries.push_back(ValuesOf(words[i], ids[i]));
  }
  return MakeAdrList(entries);
}

// The names in order; a completed recipient is followed by '+', one without values is '?', one whose first value is an
// error stands as 'e'.
std::string NamesOf(const ADRLIST* list) {
  std::string names;
  for (ULONG i = 0; i < list->cEntries; ++i) {
    const ADRENTRY& entry = list->aEntries[i];
    if (entry.cValues == 0) names += "?";
    for (ULONG at = 0; at < entry.cValues; ++at) {
      const SPropValue& value = entry.rgPropVals[at];
      if (value.ulPropTag == PR_RECIPIENT_TYPE) names += static_cast<char>(value.Value.l);
      if (PropType(value.ulPropTag) == PT_ERROR) names += "e";
      if (value.ulPropTag == PR_DISPLAY_TYPE && value.Value.l != 0) names += static_cast<char>(value.Value.l);
    }
  }
  return names;
}

// What a provider does to complete a recipient: another array in the place of the old one.
void Replace(ADRENTRY& entry) {
  char word[] = {static_cast<char>(entry.rgPropVals[0].Value.l), '-', 0};
  UABFreeBuffer(entry.rgPropVals);
  entry.rgPropVals = MakeValues(ValuesOf(word, "", "+"));
}

class PrepareRecipsTest : public AddressBookTest {
 protected:
  HRESULT Prepare(AdrListPtr& list, SPropTagArray* tags = nullptr) {
    TakeLog();
    return book_->PrepareRecips(0, tags, list.Get());
  }
};

TEST_F(PrepareRecipsTest, RegroupsByProviderAndKeepsTheOrderInside) {
  struct {
    std::vector<const char*> list;
    const char* regrouped;
    Log asked;
  } cases[] = {
      {{"1B", "2-", "3A", "4B"}, "3142", {"A.PrepareRecips 1", "B.PrepareRecips 2"}},
      {{"1A", "2A"}, "12", {"A.PrepareRecips 2", "B.PrepareRecips 0"}},
      {{"1C", "2.", "3T", "4-", "5A"}, "51234", {"A.PrepareRecips 1", "B.PrepareRecips 0"}},
      {{}, "", {"A.PrepareRecips 0", "B.PrepareRecips 0"}},
  };
  for (const auto& c : cases) {
    AdrListPtr list = MakeList(c.list);
    EXPECT_EQ(Prepare(list), S_OK);
    EXPECT_EQ(NamesOf(list.Get()), c.regrouped);
    EXPECT_EQ(TakeLog(), c.asked);
  }
  EXPECT_EQ(book_->PrepareRecips(0, nullptr, nullptr), E_INVALIDARG);
  AdrListPtr list = MakeList({"1A"});
  EXPECT_EQ(book_->PrepareRecips(1, nullptr, list.Get()), E_INVALIDARG);
}

TEST_F(PrepareRecipsTest, CompletesThroughTheProviderOrWithErrors) {
  a_.complete = [](ADRLIST* part) {
    for (ULONG i = 0; i < part->cEntries; ++i) Replace(part->aEntries[i]);
  };
  TagArray<1> tags = {1, {PR_EMAIL_ADDRESS_W}};
  AdrListPtr list = MakeList({"1C", "2A", "3B", "4A"});
  EXPECT_EQ(Prepare(list, tags.address()), S_OK);
  EXPECT_EQ(NamesOf(list.Get()), "2+4+3e1");
  EXPECT_EQ(list->aEntries[3].cValues, 3u);
}

TEST_F(PrepareRecipsTest, AFailureKeepsEveryRecipientWithItsValidArray) {
  for (Misdeed misdeed : {Misdeed::kFails, Misdeed::kThrows}) {
    for (std::uint32_t failing : {1u, 2u}) {
      AdrListPtr list = MakeList({"1B", "2A", "3C", "4A"});
      calls_.DoBadly(failing, misdeed);
      a_.complete = [](ADRLIST* part) { Replace(part->aEntries[1]); };
      EXPECT_EQ(Prepare(list), misdeed == Misdeed::kThrows ? E_FAIL : kFakeFailure);
      EXPECT_EQ(NamesOf(list.Get()), "1234+") << "in the old order";
    }
  }
}

TEST_F(PrepareRecipsTest, AProviderDoesNotChangeTheNumberOfRecipients) {
  const std::pair<void (*)(ADRLIST*), const char*> cases[] = {
      {[](ADRLIST* part) { UABFreeBuffer(part->aEntries[--part->cEntries].rgPropVals); }, "12?4"},
      {[](ADRLIST* part) { part->cEntries = 0xFFFFFFFF; }, "1234"},
      {[](ADRLIST* part) { UABFreeBuffer(std::exchange(part->aEntries[1].rgPropVals, nullptr)); }, "1?34"},
      {[](ADRLIST* part) {  // closes the gap
         UABFreeBuffer(part->aEntries[0].rgPropVals);
         std::copy_n(part->aEntries + 1, 2, part->aEntries);
         part->cEntries = 2;
       },
       "23?4"},
  };
  for (const auto& [spoil, names] : cases) {
    for (bool fails : {false, true}) {
      AdrListPtr list = MakeList({"1A", "2A", "3A", "4B"});
      a_.complete = spoil;
      calls_.DoBadly(fails ? 1 : 0);
      EXPECT_EQ(Prepare(list), fails ? kFakeFailure : S_OK);
      EXPECT_EQ(list->cEntries, 4u);
      EXPECT_EQ(NamesOf(list.Get()), names);
    }
  }
}

TEST_F(PrepareRecipsTest, TheSessionsEndInBetweenIsAFailure) {
  AdrListPtr list = MakeList({"1B", "2A"});
  a_.complete = [&](ADRLIST* part) {
    Replace(part->aEntries[0]);
    LogOff();
  };
  EXPECT_EQ(Prepare(list), MAPI_E_END_OF_SESSION);
  EXPECT_EQ(NamesOf(list.Get()), "12+");
  EXPECT_EQ(TakeLog(), (Log{"A.PrepareRecips 1", "A.Release", "B.Release"}));
}

}  // namespace
}  // namespace uab
