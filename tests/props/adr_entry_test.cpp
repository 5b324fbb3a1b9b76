#include "props/adr_entry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "props/prop_values.h"
#include "support/values.h"

namespace uab {
namespace {

constexpr ULONG P = PropTag(PT_LONG, 0x6601), Q = PropTag(PT_LONG, 0x6602), S = PropTag(PT_LONG, 0x6603);

// An entry with these properties.
struct Entry {
  ADRENTRY entry{};
  explicit Entry(const std::vector<ULONG>& tags) {
    if (tags.empty()) return;
    ChainPtr<SPropValue> values;
    EXPECT_EQ(AllocateInto(values, sizeof(SPropValue) * tags.size()), S_OK);
    std::transform(tags.begin(), tags.end(), values.Get(), [](ULONG tag) { return LongValue(tag, 1); });
    entry = {0, static_cast<ULONG>(tags.size()), values.Detach()};
  }
  ~Entry() { UABFreeBuffer(entry.rgPropVals); }
  std::vector<ULONG> Tags() const {
    std::vector<ULONG> tags;
    for (ULONG i = 0; i < entry.cValues; ++i) tags.push_back(entry.rgPropVals[i].ulPropTag);
    return tags;
  }
};

TEST(MergeIntoAdrEntry, RequestedFirstOthersBehind) {
  constexpr ULONG kNoQ = WithPropType(Q, PT_ERROR);
  struct {
    const char* what;
    std::vector<ULONG> tags, row, entry, merged;
  } cases[] = {
      {"from both", {P, Q}, {Q}, {P, S}, {P, Q, S}},
      {"missing", {Q}, {}, {P}, {kNoQ, P}},
      {"empty entry", {P, Q}, {Q, P}, {}, {P, Q}},
      {"untyped request", {PropTag(PT_UNSPECIFIED, 0x6601)}, {}, {S, P}, {P, S}},
      {"a tag twice", {P, P}, {}, {P, S}, {P, S}},  // more than was counted: as it was
      {"a tag twice, in neither", {Q, Q}, {}, {P}, {kNoQ, kNoQ, P}},
      {"a property twice", {Q}, {}, {P, P, S}, {P, P, S}},  // fewer than were counted: as it was
      {"only twice", {P, P, P}, {}, {P}, {P}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Entry row(c.row), entry(c.entry);
    ChainPtr<SPropTagArray> tags;
    ASSERT_EQ(AllocateInto(tags, TagArraySize(c.tags.size())), S_OK);
    for (ULONG tag : c.tags) tags->aulPropTag[tags->cValues++] = tag;
    SRow source = {0, row.entry.cValues, row.entry.rgPropVals};
    EXPECT_EQ(MergeIntoAdrEntry(tags.Get(), source, entry.entry), S_OK);
    EXPECT_EQ(entry.Tags(), c.merged);
  }
}

TEST(MergeIntoAdrEntry, FailureLeavesTheEntry) {
  Entry entry({P, PropTag(MV_FLAG | PT_OBJECT, 0x6605)});
  TagArray<1> tags = {1, {Q}};
  EXPECT_EQ(MergeIntoAdrEntry(tags.address(), SRow{}, entry.entry), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(entry.entry.cValues, 2u);
  EXPECT_EQ(MergeIntoAdrEntry(nullptr, SRow{}, entry.entry), E_INVALIDARG);
}

}  // namespace
}  // namespace uab
