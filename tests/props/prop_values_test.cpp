#include "props/prop_values.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/values.h"

namespace uab {
namespace {

TEST(PropValues, TypedTagsFindTheirTypeAndUntypedOnesAny) {
  SPropValue values[] = {LongValue(PropTag(PT_LONG, 0x3001), 1), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("x"))};
  EXPECT_EQ(FindProp(values, 2, PR_DISPLAY_NAME_W), &values[1]);
  EXPECT_EQ(FindProp(values, 2, PropTag(PT_UNSPECIFIED, 0x3001)), &values[0]);
  EXPECT_EQ(FindProp(values, 2, PR_DISPLAY_NAME_A), nullptr);

  TagArray<4> tags = {4, {PR_DISPLAY_NAME_W, PR_DISPLAY_NAME_A, PR_DEPTH, PR_ENTRYID}};
  TagArray<2> excluded = {2, {PR_DISPLAY_NAME_A, PropTag(PT_UNSPECIFIED, PropId(PR_ENTRYID))}};
  EXPECT_TRUE(ExcludeTags(tags.address(), excluded.address()));
  ASSERT_EQ(tags.cValues, 2u);
  EXPECT_EQ(tags.aulPropTag[1], PR_DEPTH);
  TagArray<64> many = {64, {}}, some = {32, {}};  // more are looked up in another way
  for (ULONG i = 0; i < 64; ++i) many.aulPropTag[i] = PropTag(PT_LONG, 100 - i);
  for (ULONG i = 0; i < 32; ++i)
    some.aulPropTag[i] = PropTag(i % 3 == 0 ? PT_UNSPECIFIED : i % 3 == 1 ? PT_LONG : PT_I2, 41 + i);
  EXPECT_TRUE(ExcludeTags(many.address(), some.address()));
  EXPECT_EQ(many.cValues, 64u - 22u);
  EXPECT_EQ(many.aulPropTag[28], PropTag(PT_LONG, 70)) << "in order, without 72 and 71";
  EXPECT_FALSE(ExcludeTags(nullptr, excluded.address()));
  EXPECT_FALSE(ExcludeTags(tags.address(), nullptr));
}

TEST(PropValues, StripObjectAndBinaryTags) {
  TagArray<4> tags = {4, {PR_ENTRYID, PR_DEPTH, PR_CONTAINER_CONTENTS, PR_AB_SEARCH_PATH}};
  ChainPtr<SPropTagArray> stripped;
  ASSERT_EQ(StripObjectAndBinaryTags(tags.address(), stripped.Put()), S_OK);
  ASSERT_EQ(stripped->cValues, 1u);
  EXPECT_EQ(stripped->aulPropTag[0], PR_DEPTH);
  tags.aulPropTag[1] = PR_ENTRYID;
  EXPECT_EQ(StripObjectAndBinaryTags(tags.address(), stripped.Put()), MAPI_E_NOT_FOUND);
  EXPECT_FALSE(stripped);
  tags.cValues = 0;
  EXPECT_EQ(StripObjectAndBinaryTags(tags.address(), stripped.Put()), E_INVALIDARG);
}

TEST(PropValues, DupBinaryOfNothing) {
  const SBinary source = {3, nullptr};
  ChainPtr<SBinary> copy;
  EXPECT_TRUE(DupBinary(copy.Put(), &source) && copy->cb == 3 && copy->lpb == nullptr);
  EXPECT_TRUE(DupBinary(copy.Put(), nullptr) && !copy);
}

// One linked copy, and the size of the block that holds its data (0: none).
struct Copied {
  HRESULT hr;
  SPropValue value{};
  ULONG size = 0;
  ChainPtr<BYTE> head;
};

Copied Copy(const SPropValue& source) {
  Copied copied;
  EXPECT_EQ(AllocateInto(copied.head), S_OK);
  copied.hr = CopyValue(copied.value, source, copied.head.Get());
  const BlockHeader* next = (reinterpret_cast<BlockHeader*>(copied.head.Get()) - 1)->next;
  if (next != nullptr) copied.size = next->size;
  return copied;
}

TEST(PropValues, CopiesOccupyWhatTheirDataNeeds) {
  char ab[] = "ab";
  GUID guid = {1, 2, 3, {4}};
  SPropValue text8 = LongValue(PR_DISPLAY_NAME_A, 0), clsid = LongValue(PropTag(PT_CLSID, 0x6601), 0);
  text8.Value.lpszA = ab;
  clsid.Value.lpguid = &guid;
  const std::pair<SPropValue, ULONG> cases[] = {{TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("ab")), 6},
                                                {text8, 3},
                                                {clsid, 16},
                                                {BinaryValue(PR_ENTRYID, ab, 2), 2},
                                                {BinaryValue(PR_ENTRYID, ab, 0), 0},
                                                {TextValue(PR_DISPLAY_NAME_W, nullptr), 0},
                                                {LongValue(PR_DEPTH, 7), 0}};
  for (const auto& [value, size] : cases) {
    const Copied copied = Copy(value);
    EXPECT_EQ(copied.size, size);
    EXPECT_EQ(copied.value.ulPropTag, value.ulPropTag);
    auto data_of = [](const SPropValue& of) {
      return PropType(of.ulPropTag) == PT_BINARY ? of.Value.bin.lpb : reinterpret_cast<BYTE*>(of.Value.lpszA);
    };
    if (size == 0) continue;
    EXPECT_NE(data_of(copied.value), data_of(value));
    EXPECT_EQ(std::memcmp(data_of(copied.value), data_of(value), size), 0);
  }
  EXPECT_EQ(Copy(cases[4].first).value.Value.bin.lpb, nullptr);
  EXPECT_EQ(Copy(cases[6].first).value.Value.l, 7);
}

TEST(PropValues, MultiValuedBlocksAreSelfContained) {
  WCHAR a[] = UAB_TEXT("a"), bc[] = UAB_TEXT("bc");
  WCHAR* texts[] = {a, bc};
  SPropValue strings = LongValue(PR_SERVICE_SUPPORT_FILES_W, 0);
  strings.Value.MVszW = {2, texts};
  Copied copied = Copy(strings);
  ASSERT_EQ(copied.hr, S_OK);
  EXPECT_EQ(copied.size, 26u);
  auto* block = reinterpret_cast<BYTE*>(copied.value.Value.MVszW.lppszW);
  EXPECT_EQ(reinterpret_cast<BYTE*>(copied.value.Value.MVszW.lppszW[0]), block + 16);
  EXPECT_EQ(reinterpret_cast<BYTE*>(copied.value.Value.MVszW.lppszW[1]), block + 20);
  EXPECT_EQ(lstrcmpW(copied.value.Value.MVszW.lppszW[1], bc), 0);

  SPropValue unknown = strings;
  unknown.ulPropTag = PropTag(MV_FLAG | PT_OBJECT, 0x6602);
  EXPECT_EQ(Copy(unknown).hr, MAPI_E_NO_SUPPORT);
  strings.Value.MVszW = {2, nullptr};
  EXPECT_EQ(Copy(strings).hr, E_INVALIDARG) << "values counted, but no array";
}

}  // namespace
}  // namespace uab
