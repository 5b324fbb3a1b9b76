#include "session/dist_list_expansion.h"

#include <map>
#include <sstream>

#include "session/staged_world.h"
#include "support/enlist.h"
#include "support/heap_watch.h"

namespace uab {
namespace {

// Lists and entries are words: ann, a user; @team, a list of the directory; ~, a user with an empty identifier; with a
// recipient type behind, as ann:2. Words with ? are what nobody should deliver.
std::vector<std::string> Split(const std::string& words) {
  std::istringstream in(words);
  std::vector<std::string> all;
  for (std::string word; in >> word;) all.push_back(word);
  return all;
}

AdrListPtr ListOf(const std::string& words) {
  std::vector<std::vector<SPropValue>> entries;
  const std::vector<std::string> all = Split(words);
  std::vector<std::string> ids(all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    const std::string& word = all[i];
    const std::size_t colon = word.find(':');
    if (word[0] != '~') ids[i] = FakeId('A', word.substr(0, colon));
    auto& values = entries.emplace_back();
    if (word == "?null") continue;
    if (word != "?no-type") values.push_back(LongValue(PR_OBJECT_TYPE, word[0] == '@' ? MAPI_DISTLIST : MAPI_MAILUSER));
    if (word != "?no-id") values.push_back(BinaryValue(PR_ENTRYID, ids[i].data(), SizeOf(ids[i])));
    if (colon != word.npos) values.push_back(LongValue(PR_RECIPIENT_TYPE, std::stoi(word.substr(colon + 1))));
  }
  return MakeAdrList(entries);
}

// A list's identifiers and recipient types as words; "null" for null.
std::string Words(const ADRLIST* list) {
  if (list == nullptr) return "null";
  std::string words;
  for (ULONG i = 0; i < list->cEntries; ++i) {
    ADRENTRY& entry = const_cast<ADRENTRY&>(list->aEntries[i]);
    std::span<const BYTE> id = EntryIdOf(entry.rgPropVals, entry.cValues);
    const SPropValue* type = FindProp(entry.rgPropVals, entry.cValues, PR_RECIPIENT_TYPE);
    words += (i == 0 ? "" : " ") + (id.empty() ? "~" : Bytes(id.data(), id.size()).substr(20));
    if (type != nullptr) words += ":" + std::to_string(type->Value.l);
  }
  return words;
}

// What rows of words with ? look like.
void SpoilRow(const std::string& word, SPropValue*& values, ULONG& count) {
  if (word == "?null") UABFreeBuffer(std::exchange(values, nullptr));
  if (word == "?id-as-text") values[0] = TextValue(WithPropType(PR_ENTRYID, PT_UNICODE), UAB_TEXT("a"));
  if (word == "?id-missing") values[0] = NotFoundValue(PR_ENTRYID);
  if (word == "?id-null") values[0].Value.bin = {0xFFFFFFFFu, nullptr};
  if (word == "?list-without-id") values[0] = values[4] = LongValue(PR_OBJECT_TYPE, MAPI_DISTLIST);
  if (word == "?none") count = 0;
  if (word == "?one") count = 1;
  if (word == "?two") count = 2;
  if (word == "?many") count = 0xFFFFFFFFu;
}

using Lists = std::map<std::string, std::string>;

struct Directory : FakeProvider {
  explicit Directory(const Lists& lists) : FakeProvider('A') {
    calls->spoil = SpoilRow;
    for (const auto& [name, members] : lists) {
      FakeEntry& list = AddList(name);
      for (const std::string& word : Split(members)) AddMember(list, word == "~" ? "" : Id(word));
    }
  }
  HRESULT Replace(AdrListPtr& list) {
    ComPtr<ProviderList> providers;
    if (Failed(ProviderList::Create(providers)) || Failed(Enlist(*providers, *this))) return E_FAIL;
    return ReplaceIn(list, [&](ADRLIST*& raw) { return ReplaceDistLists(*providers, raw); });
  }
};

struct Case {
  const char* input;
  Lists lists;
  const char* output;
  HRESULT result = S_OK;
};

// Expands the input; nothing may be left behind but the result, which is freed here too.
void Check(const Case& c, void (*prepare)(Directory&) = nullptr) {
  SCOPED_TRACE(c.input);
  Directory directory(c.lists);
  if (prepare != nullptr) prepare(directory);
  HeapWatch watch;
  {
    AdrListPtr list = ListOf(c.input);
    const ADRLIST* before = list.Get();
    const ULONG room = list->cEntries;
    HRESULT hr = directory.Replace(list);
    EXPECT_EQ(hr, c.result) << std::hex << hr;
    EXPECT_EQ(Words(list.Get()), c.output);
    EXPECT_TRUE(Failed(hr) || list->cEntries > room || list.Get() == before) << "reused when all fit";
    for (ULONG i = 0; list && i < list->cEntries; ++i) EXPECT_LE(list->aEntries[i].cValues, 5u);
  }
  EXPECT_EQ(watch.live(), 0u) << watch.Describe();
  EXPECT_EQ(directory.held(), 0u);
}

TEST(DistListExpansion, ReplacesListsByTheirMembers) {
  const Case cases[] = {
      {"ann:1 bob:2", {}, "ann:1 bob:2"},
      {"ann:1 bob ann:2 ~ ~", {}, "ann:1 bob ~"},              // the first of each identifier
      {"@f:2", {{"@f", ""}}, ""},                              // an empty list
      {"@f:2", {{"@f", "ann"}}, "ann:2"},                      // room enough
      {"@f:2", {{"@f", "ann bob ~ ann"}}, "ann:2 bob:2 ~:2"},  // not room enough
      {"@f:2 ann:1 @g:3", {{"@f", "ann bob"}, {"@g", "bob eve"}}, "ann:1 bob:2 eve:3"},
      {"@f:1 @f:2", {{"@f", "ann"}}, "ann:1"},                                               // one list, twice
      {"@f:1 @g:2", {{"@f", "@h ann"}, {"@g", "bob"}, {"@h", "eve"}}, "ann:1 bob:2 eve:1"},  // breadth first
      {"@f:3", {{"@f", "@f ann"}}, "ann:3"},                                                 // a list in itself
      {"@f:1 @g:2", {{"@f", "@g ann"}, {"@g", "@f bob"}}, "ann:1 bob:2"},                    // and in each other
      // Odd rows are taken for what they are.
      {"@f:1", {{"@f", "?two ann"}}, "?two:1 ann:1"},  // no type: a user
      {"@f:1", {{"@f", "?many ann"}}, "?many:1 ann:1"},
      {"@f:1", {{"@f", "?id-null ann"}}, "~:1 ann:1"},
  };
  for (const Case& c : cases) Check(c);
  std::string many, expanded;
  for (int i = 0; i < 300; ++i) {
    many += "user" + std::to_string(i % 200) + " @f" + std::to_string(i) + " ";
    if (i < 200) expanded += (i > 0 ? " user" : "user") + std::to_string(i) + ":1";
  }
  Lists lists = {{"@f", many}};
  for (int i = 0; i < 300; ++i) lists["@f" + std::to_string(i)] = "user0 @f";
  Check({"@f:1", lists, expanded.c_str()});
  Check({"@f:1", {{"@f", "ann bob eve"}}, "ann:1 bob:1 eve:1"},
        [](Directory& directory) { directory.calls->surplus_rows = 1; });
  Check({"@f:1", {{"@f", "ann bob eve"}}, "ann:1 bob:1 eve:1"},
        [](Directory& directory) { directory.calls->claimed_rows = 0x7FFFFFFF; });
  Check({"@f:1 ann:1", {{"@f", "bob"}}, "ann:1 bob:1"}, [](Directory& directory) { directory.At("@f").type = 0; });
}

TEST(DistListExpansion, KeepsWhatCameBeforeAFailure) {
  const HRESULT missing = MAPI_E_MISSING_REQUIRED_COLUMN;
  const Case cases[] = {
      {"ann:1 ?no-type bob:1", {}, "ann:1", missing},
      {"ann:1 ?no-id bob:1", {}, "ann:1", missing},
      {"?null", {}, "", missing},
      {"ann:1 @f", {{"@f", "bob"}}, "ann:1", missing},  // a list without recipient type
      {"@gone:1 ann:1", {}, "ann:1", MAPI_E_NOT_FOUND},
      {"@f:1 @g:2", {{"@f", "ann ?one bob"}, {"@g", "eve"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?none bob"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?null bob"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?id-as-text bob"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?id-missing bob"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?list-without-id bob"}}, "ann:1", missing},
  };
  for (const Case& c : cases) Check(c);
  Check({"@f:1 ann:1", {{"@f", "bob"}}, "ann:1", MAPI_E_INVALID_OBJECT},
        [](Directory& directory) { directory.At("@f").type = MAPI_MAILUSER; });
  Check({"@f:1 ann:1", {{"@f", "bob"}}, "ann:1 bob:1", kFakeFailure}, [](Directory& directory) {
    directory.calls->endless = true;
    directory.DoBadly(1000, Misdeed::kFails);
  });
}

}  // namespace
}  // namespace uab
