#include "props/prop_list.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "support/values.h"

namespace uab {
namespace {

std::vector<ULONG> Tags(const PropList& list) {
  std::vector<ULONG> tags;
  for (const PropNodePtr& node : list.nodes()) tags.push_back(node->tag());
  return tags;
}

TEST(PropList, SetReplacesInPlaceWhateverTheType) {
  PropList list;
  ASSERT_EQ(list.Set(TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("name"))), S_OK);
  ASSERT_EQ(list.Set(LongValue(PR_DEPTH, 1)), S_OK);
  list.SetAllDirty(false);
  ASSERT_EQ(list.Set(LongValue(PropTag(PT_LONG, 0x3001), 9)), S_OK);
  EXPECT_EQ(Tags(list), (std::vector<ULONG>{PropTag(PT_LONG, 0x3001), PR_DEPTH}));
  EXPECT_TRUE(list.nodes()[0]->dirty());
  EXPECT_FALSE(list.nodes()[1]->dirty());
  EXPECT_EQ(list.Set(LongValue(PropTag(MV_FLAG | PT_OBJECT, 0x3001), 0)), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(list.count(), 2u);
  EXPECT_TRUE(list.Remove(PR_DISPLAY_NAME_A)) << "by identifier";
  EXPECT_FALSE(list.Remove(PR_DISPLAY_NAME_A));
  EXPECT_EQ(list.Find(PR_DEPTH)->record.value.Value.l, 1);
}

TEST(PropList, AppendKeepsRepeatsAndFindGivesTheFirst) {
  PropList list;
  for (LONG i = 0; i < 3; ++i) {
    PropNodePtr node;
    ASSERT_EQ(MakePropNode(LongValue(PR_DEPTH, i), node), S_OK);
    ASSERT_EQ(list.Append(std::move(node)), S_OK);
  }
  EXPECT_EQ(list.count(), 3u);
  EXPECT_EQ(list.Find(PR_DEPTH)->record.value.Value.l, 0);
  EXPECT_FALSE(list.nodes()[0]->dirty());
}

TEST(PropList, MatchesComparesByType) {
  const ULONG kI2 = PropTag(PT_I2, 1), kR4 = PropTag(PT_R4, 2), kDouble = PropTag(PT_DOUBLE, 3),
              kI8 = PropTag(PT_I8, 4), kClsid = PropTag(PT_CLSID, 5), kTime = PropTag(PT_SYSTIME, 6),
              kCurrency = PropTag(PT_CURRENCY, 7);
  GUID one = {1, 0, 0, {}}, same = one, other = {2, 0, 0, {}};
  BYTE bytes[] = {1, 2, 3};
  auto number = [](ULONG tag, auto SPropValueUnion::*field, auto content) {
    SPropValue value{};
    value.ulPropTag = tag;
    value.Value.*field = content;
    return value;
  };
  char a[] = "Abc", b[] = "abc";
  struct {
    const char* what;
    SPropValue stored, given;
    HRESULT result;
  } cases[] = {
      {"i2 looks at 16 bits", LongValue(kI2, 0x10005), LongValue(kI2, 0x20005), S_OK},
      {"long", LongValue(PR_DEPTH, 5), LongValue(PR_DEPTH, 6), MAPI_E_NOT_FOUND},
      {"zeros of both signs", number(kR4, &SPropValueUnion::flt, 0.0f), number(kR4, &SPropValueUnion::flt, -0.0f),
       S_OK},
      {"nan", number(kDouble, &SPropValueUnion::dbl, std::numeric_limits<double>::quiet_NaN()),
       number(kDouble, &SPropValueUnion::dbl, std::numeric_limits<double>::quiet_NaN()), MAPI_E_NOT_FOUND},
      {"i8", number(kI8, &SPropValueUnion::li, LONGLONG{1} << 40), number(kI8, &SPropValueUnion::li, LONGLONG{1} << 41),
       MAPI_E_NOT_FOUND},
      {"text", TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Fax")), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Fax")), S_OK},
      {"text in another case", TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Fax")),
       TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("FAX")), MAPI_E_NOT_FOUND},
      {"longer text", TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Fax")), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Fax1")),
       MAPI_E_NOT_FOUND},
      {"8-bit text", number(PR_DISPLAY_NAME_A, &SPropValueUnion::lpszA, a),
       number(PR_DISPLAY_NAME_A, &SPropValueUnion::lpszA, b), MAPI_E_NOT_FOUND},
      {"guid", number(kClsid, &SPropValueUnion::lpguid, &one), number(kClsid, &SPropValueUnion::lpguid, &same), S_OK},
      {"other guid", number(kClsid, &SPropValueUnion::lpguid, &one), number(kClsid, &SPropValueUnion::lpguid, &other),
       MAPI_E_NOT_FOUND},
      {"bytes", BinaryValue(PR_ENTRYID, bytes, 3), BinaryValue(PR_ENTRYID, bytes, 2), MAPI_E_NOT_FOUND},
      {"no bytes", BinaryValue(PR_ENTRYID, bytes, 0), BinaryValue(PR_ENTRYID, nullptr, 0), S_OK},
      {"another type", LongValue(PR_DEPTH, 0), LongValue(WithPropType(PR_DEPTH, PT_ERROR), 0), MAPI_E_NOT_FOUND},
      {"times are not compared", LongValue(kTime, 0), LongValue(kTime, 0), MAPI_E_NO_SUPPORT},
      {"nor currencies", LongValue(kCurrency, 0), LongValue(kCurrency, 0), MAPI_E_NO_SUPPORT},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PropList list;
    EXPECT_EQ(list.Matches(c.given), MAPI_E_NOT_FOUND);
    ASSERT_EQ(list.Set(c.stored), S_OK);
    EXPECT_EQ(list.Matches(c.given), c.result);
  }
}

}  // namespace
}  // namespace uab
