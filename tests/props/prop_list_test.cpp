#include "props/prop_list.h"
#include "props/record_match.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "support/values.h"

namespace uab {
namespace {

TEST(PropList, SetReplacesInPlaceWhateverTheType) {
  PropList list;
  ASSERT_EQ(list.Set(TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("name"))), S_OK);
  ASSERT_EQ(list.Set(LongValue(PR_DEPTH, 1)), S_OK);
  list.SetAllDirty(false);
  ASSERT_EQ(list.Set(LongValue(PropTag(PT_LONG, 0x3001), 9)), S_OK);
  ASSERT_EQ(list.count(), 2u);
  EXPECT_EQ(list.nodes()[0]->tag(), PropTag(PT_LONG, 0x3001));
  EXPECT_TRUE(list.nodes()[0]->dirty());
  EXPECT_FALSE(list.nodes()[1]->dirty());
  EXPECT_EQ(list.Set(LongValue(PropTag(MV_FLAG | PT_OBJECT, 0x3001), 0)), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(list.count(), 2u);
  EXPECT_TRUE(list.Remove(PR_DISPLAY_NAME_A)) << "by identifier";
  EXPECT_FALSE(list.Remove(PR_DISPLAY_NAME_A));
  EXPECT_EQ(list.Find(PR_DEPTH)->record.value.Value.l, 1);
}

TEST(PropList, MatchesComparesByType) {
  auto text = [](const WCHAR* content) { return TextValue(PR_DISPLAY_NAME_W, content); };
  auto bytes = [](const void* content, ULONG size) { return BinaryValue(PR_ENTRYID, content, size); };
  auto real = [](float number) {
    SPropValue value = LongValue(PropTag(PT_R4, 1), 0);
    value.Value.flt = number;
    return value;
  };
  auto pointer = [](ULONG type, void* data) {
    SPropValue value = LongValue(PropTag(type, 1), 0);
    value.Value.lpszA = static_cast<char*>(data);
    return value;
  };
  char abc[] = "Abc", other_abc[] = "abc";
  GUID one = {1, 0, 0, {}}, other = {1, 0, 0, {1}};
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const ULONG i2 = PropTag(PT_I2, 1), time = PropTag(PT_SYSTIME, 1);
  const struct {
    const char* what;
    SPropValue stored, given;
    HRESULT result;
  } cases[] = {
      {"i2 looks at 16 bits", LongValue(i2, 0x10005), LongValue(i2, 0x20005), S_OK},
      {"long", LongValue(PR_DEPTH, 5), LongValue(PR_DEPTH, 6), MAPI_E_NOT_FOUND},
      {"zeros of both signs", real(0.0f), real(-0.0f), S_OK},
      {"nan", real(nan), real(nan), MAPI_E_NOT_FOUND},
      {"text in another case", text(UAB_TEXT("Fax")), text(UAB_TEXT("FAX")), MAPI_E_NOT_FOUND},
      {"longer text", text(UAB_TEXT("Fax")), text(UAB_TEXT("Fax1")), MAPI_E_NOT_FOUND},
      {"8-bit text", pointer(PT_STRING8, abc), pointer(PT_STRING8, other_abc), MAPI_E_NOT_FOUND},
      {"i8", pointer(PT_I8, abc), pointer(PT_I8, other_abc), MAPI_E_NOT_FOUND},
      {"double", pointer(PT_DOUBLE, nullptr), pointer(PT_DOUBLE, nullptr), S_OK},
      {"guid", pointer(PT_CLSID, &one), pointer(PT_CLSID, &other), MAPI_E_NOT_FOUND},
      {"bytes", bytes("abc", 3), bytes("abc", 2), MAPI_E_NOT_FOUND},
      {"no bytes", bytes("abc", 0), bytes(nullptr, 0), S_OK},
      {"another type", LongValue(PR_DEPTH, 0), LongValue(WithPropType(PR_DEPTH, PT_ERROR), 0), MAPI_E_NOT_FOUND},
      {"times are not compared", LongValue(time, 0), LongValue(time, 0), MAPI_E_NO_SUPPORT},
  };
  for (const auto& c : cases) {
    PropNodePtr node;
    EXPECT_EQ(MatchRecord(nullptr, c.given), MAPI_E_NOT_FOUND) << c.what;
    ASSERT_EQ(MakePropNode(c.stored, node), S_OK);
    EXPECT_EQ(MatchRecord(&node->record, c.given), c.result) << c.what;
  }
}

}  // namespace
}  // namespace uab
