#include "session/dist_list_expansion.h"

#include <gtest/gtest.h>

#include "session/fake_directory.h"
#include "support/failure_sweep.h"
#include "support/heap_watch.h"

namespace uab {
namespace {

HRESULT Replace(FakeDirectory& directory, AdrListPtr& list) {
  ADRLIST* raw = list.Detach();
  HRESULT hr = ReplaceDistLists(directory, raw);
  list.Reset(raw);
  return hr;
}

struct Case {
  const char* input;
  std::map<std::string, std::string> lists;
  const char* output;
  HRESULT result = S_OK;
};

// Expands the input; nothing may be left behind but the result, which is freed here too.
void Check(const Case& c, void (*misbehave)(FakeDirectory&) = nullptr) {
  SCOPED_TRACE(c.input);
  FakeDirectory directory(c.lists);
  if (misbehave != nullptr) misbehave(directory);
  HeapWatch watch;
  {
    AdrListPtr list = MakeAdrList(c.input);
    ADRLIST* before = list.Get();
    ULONG room = list->cEntries;
    HRESULT hr = Replace(directory, list);
    EXPECT_EQ(hr, c.result) << std::hex << hr;
    EXPECT_EQ(Words(list.Get()), c.output);
    EXPECT_TRUE(Failed(hr) || list->cEntries > room || list.Get() == before) << "reused when all fit";
  }
  EXPECT_EQ(watch.live(), 0u) << watch.Describe();
  EXPECT_EQ(directory.references_left(), 0u);
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
  };
  for (const Case& c : cases) Check(c);
}

TEST(DistListExpansion, KeepsWhatCameBeforeAFailure) {
  const HRESULT missing = MAPI_E_MISSING_REQUIRED_COLUMN;
  const Case cases[] = {
      {"ann:1 ?no-type bob:1", {}, "ann:1", missing},
      {"ann:1 ?no-id bob:1", {}, "ann:1", missing},
      {"?null", {}, "", missing},
      {"ann:1 @f", {{"@f", "bob"}}, "ann:1", missing},  // a list without recipient type
      {"@gone:1 ann:1", {}, "ann:1", MAPI_E_NOT_FOUND},
      {"@null:1 ann:1", {}, "ann:1", E_FAIL},
      {"@f:1 ann:1", {{"@f", "?no-table"}}, "ann:1", E_FAIL},
      {"@f:1 @g:2", {{"@f", "ann ?one bob"}, {"@g", "eve"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?none bob"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?null bob"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?id-as-text bob"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?id-missing bob"}}, "ann:1", missing},
      {"@f:1", {{"@f", "ann ?list-without-id bob"}}, "ann:1", missing},
  };
  for (const Case& c : cases) Check(c);
  Check({"@f:1 ann:1", {{"@f", "bob"}}, "ann:1", MAPI_E_INVALID_OBJECT},
        [](FakeDirectory& directory) { directory.list("@f").type = MAPI_MAILUSER; });
  Check({"@f:1 ann:1", {{"@f", "bob"}}, "ann:1 bob:1"},
        [](FakeDirectory& directory) { directory.list("@f").type = 0; });  // leaves the type out
}

TEST(DistListExpansion, TakesOddRowsForWhatTheyAre) {
  const Case cases[] = {
      {"@f:1", {{"@f", "?two ann"}}, "?two:1 ann:1"},  // no type: a user
      {"@f:1", {{"@f", "?type-as-error"}}, "?type-as-error:1"},
      {"@f:1", {{"@f", "?id-null ann"}}, ":1 ann:1"},   // counted bytes, but none there: empty
      {"@f:1", {{"@f", "ann ?no-rows bob"}}, "ann:1"},  // null in place of a row set: the end
      {"@f:1", {{"@f", "ann ?both bob eve"}}, "ann:1 bob:1 eve:1"},
  };
  for (const Case& c : cases) Check(c);
}

TEST(DistListExpansion, EndsWithTheTableThatNeverEnds) {
  Check({"@f:1 ann:1", {{"@f", "?for-ever"}}, "ann:1 ?for-ever:1", kProviderFailure},
        [](FakeDirectory& directory) { directory.RefuseCall(1000); });
}

const std::map<std::string, std::string> kLists = {{"@f", "ann @g bob"}, {"@g", "eve @f ann dan"}};
constexpr char kInput[] = "zoe:1 @f:2 ann:3";
constexpr char kOutput[] = "zoe:1 ann:3 bob:2 eve:2 dan:2";

// The users collected before a failure are the first ones of the full result.
void ExpectBeginOfOutput(const ADRLIST* list) {
  EXPECT_TRUE(std::string(kOutput).starts_with(Words(list))) << Words(list);
}

TEST(DistListExpansion, AnyFailingCallIsReported) {
  for (bool throws : {false, true}) {
    bool refused = true;
    for (std::uint32_t call = 1; refused; ++call) {
      SCOPED_TRACE(call);
      FakeDirectory directory(kLists);
      directory.RefuseCall(call);
      directory.throws = throws;
      HeapWatch watch;
      {
        AdrListPtr list = MakeAdrList(kInput);
        HRESULT hr = Replace(directory, list);
        refused = directory.refused();
        EXPECT_EQ(hr, !refused ? S_OK : throws ? E_FAIL : kProviderFailure) << std::hex << hr;
        ExpectBeginOfOutput(list.Get());
        EXPECT_TRUE(refused || Words(list.Get()) == kOutput);
        ASSERT_LT(call, 100u);
      }
      EXPECT_EQ(watch.live(), 0u) << watch.Describe();
      EXPECT_EQ(directory.references_left(), 0u);
    }
  }
}

TEST(DistListExpansion, AnyFailingAllocationIsReported) {
  FakeDirectory directory(kLists);
  ForEachAllocationFailure([] { return MakeAdrList(kInput); },
                           [&](AdrListPtr& list) { return Replace(directory, list); },
                           [&](AdrListPtr& list, HRESULT hr) {
                             EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY) << std::hex << hr;
                             if (hr == S_OK) {
                               EXPECT_EQ(Words(list.Get()), kOutput);
                             } else if (list) {
                               ExpectBeginOfOutput(list.Get());
                             }
                             EXPECT_EQ(directory.references_left(), 0u);
                           });
}

}  // namespace
}  // namespace uab
