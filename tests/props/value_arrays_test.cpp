#include "keluab/value_arrays.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/adr_list.h"
#include "support/failure_sweep.h"
#include "support/values.h"

namespace uab {
namespace {

constexpr MemoryRoutines kMemory = {&UABAllocateBuffer, &UABAllocateMore, &UABFreeBuffer};
constexpr TagArray<3> kTags = {3, {PR_COMMENT_W, PR_DISPLAY_NAME_W, PR_ADDRTYPE_W}};
constexpr BYTE kId[] = {1, 2, 3};

struct Directory : ADRENTRY {
  Directory() : ADRENTRY{0, 2, values} {}
  SPropValue values[2] = {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("name")), BinaryValue(PR_SEARCH_KEY, kId, 3)};
  const ADRENTRY* operator()(const SBinary& id) const { return id.cb == sizeof kId ? this : nullptr; }
};

// One that is known, with a name of its own and a tag asked for under another type; one that is gone; one without
// values.
AdrListPtr Recipients() {
  const SPropValue known[] = {LongValue(PR_RECIPIENT_TYPE, MAPI_CC), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("old")),
                              LongValue(WithPropType(PR_ADDRTYPE_W, PT_LONG), 7), BinaryValue(PR_ENTRYID, kId, 3)};
  return MakeAdrList({{std::begin(known), std::end(known)},
                      {BinaryValue(PR_ENTRYID, kId, 2), TextValue(PR_COMMENT_W, UAB_TEXT("mine"))},
                      {}});
}

TEST(ValueArraysTest, RefusesWhatItCantAnswerWhole) {
  const TagArray<1> none = {0, {}};
  SPropValue multiple{WithPropType(PR_COMMENT_W, MV_FLAG), 0, {}};
  const ADRENTRY unknown_type = {0, 1, &multiple};
  ULONG count = 9;
  ChainPtr<SPropValue> values;
  EXPECT_EQ(MakeValues(kMemory, none.address(), Directory(), {}, &count, values.Put()), E_INVALIDARG);
  EXPECT_EQ(MakeValues(kMemory, kTags.address(), Directory(), {}, nullptr, values.Put()), E_INVALIDARG);
  EXPECT_EQ(MakeValues(kMemory, kTags.address(), Directory(), unknown_type, &count, values.Put()),
            MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(MakeValues(kMemory, nullptr, Directory(), unknown_type, &count, values.Put()), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(CompleteRecipients(kMemory, nullptr, nullptr, Directory()), E_INVALIDARG);
  EXPECT_EQ(CompleteRecipients(kMemory, none.address(), Recipients().Get(), Directory()), S_OK);
  EXPECT_TRUE(MakeValues(kMemory, nullptr, {}, {}, &count, values.Put()) == S_OK && count == 0 && !values);
}

TEST(ValueArraysTest, KeepsEachValueOfEveryType) {
  WCHAR word[] = UAB_TEXT("b"), *words[] = {word, word};
  SPropValue given[] = {BinaryValue(PR_SEARCH_KEY, nullptr, 3),  TextValue(PR_ADDRTYPE_W, UAB_TEXT("x")),
                        TextValue(PR_ADDRTYPE_W, UAB_TEXT("y")), LongValue(PR_DISPLAY_NAME_A, 0),
                        LongValue(PropTag(PT_CLSID, 1), 0),      LongValue(PropTag(PT_MV_UNICODE, 2), 2)};
  given[3].Value.lpszA = const_cast<char*>("8-bit");
  given[4].Value.lpguid = const_cast<GUID*>(&IID_IMAPIProp);
  given[5].Value.MVszW.lppszW = words;
  const TagArray<2> tags = {2, {PR_NULL, PR_SEARCH_KEY}};
  AdrListPtr list = MakeAdrList({{std::begin(given), std::end(given)}});
  ASSERT_EQ(CompleteRecipients(kMemory, tags.address(), list.Get(), Directory()), S_OK);
  ULONG count = 0;
  ChainPtr<SPropValue> copy;
  ASSERT_EQ(MakeValues(kMemory, nullptr, list->aEntries[0], {}, &count, copy.Put()), S_OK);
  list.Reset();
  EXPECT_TRUE(count == 7 && copy.Get()[0].ulPropTag == PR_NULL && copy.Get()[1].Value.bin.cb == 0) << count;
  EXPECT_EQ(TextOf(copy.Get()[2]) + TextOf(copy.Get()[3]) + copy.Get()[6].Value.MVszW.lppszW[1], UAB_TEXT("xyb"));
  EXPECT_TRUE(copy.Get()[4].Value.lpszA == std::string("8-bit") && *copy.Get()[5].Value.lpguid == IID_IMAPIProp);
}

TEST(ValueArraysTest, IsWholeAfterEveryFailure) {
  ForEachAllocationFailure(
      &Recipients,
      [](AdrListPtr& list) { return CompleteRecipients(kMemory, kTags.address(), list.Get(), Directory()); },
      [](AdrListPtr& list, HRESULT hr) {
        const ULONG counts[] = {list->aEntries[0].cValues, list->aEntries[1].cValues};
        EXPECT_TRUE(counts[0] == 5 || (Failed(hr) && counts[0] == 4));
        EXPECT_TRUE(counts[1] == 4 || (Failed(hr) && counts[1] == 2));
        const SPropValue* known = list->aEntries[0].rgPropVals;  // what was asked for, then the rest
        if (hr != S_OK) return;
        EXPECT_TRUE(TextOf(known[1]) == UAB_TEXT("name") && known[3].ulPropTag == PR_RECIPIENT_TYPE);
        EXPECT_EQ(TextOf(list->aEntries[1].rgPropVals[0]), UAB_TEXT("mine"));
        EXPECT_EQ(list->aEntries[2].rgPropVals[0].Value.err, MAPI_E_NOT_FOUND);
      });
  const Directory directory;
  auto item = [&](ULONG) -> const ADRENTRY& { return directory; };
  ForEachAllocationFailure([] { return RowSetPtr(); },
                           [&](RowSetPtr& rows) { return MakeRows(kMemory, *kTags.address(), 3, item, rows.Put()); },
                           [](RowSetPtr& rows, HRESULT hr) { EXPECT_EQ(Failed(hr), !rows); });
}

}  // namespace
}  // namespace uab
