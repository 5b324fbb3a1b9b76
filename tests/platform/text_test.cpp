// String functions, one set of cases for the system's own and for the stand-ins.
#include <gtest/gtest.h>

#include "platform/win32.h"

namespace uab {
namespace {

TEST(Text, ComparisonIgnoresCaseOfAllLetters) {
  const struct {
    const WCHAR *a, *b;
    int sign;
  } rows[] = {{UAB_TEXT("\u00C4\u03A9\u0416"), UAB_TEXT("\u00E4\u03C9\u0436"), 0},
              {UAB_TEXT("a"), UAB_TEXT("B"), -1},
              {UAB_TEXT("ab"), UAB_TEXT("A"), 1},
              {UAB_TEXT(""), UAB_TEXT("a"), -1}};
  for (const auto& row : rows) {
    const int order = lstrcmpiW(row.a, row.b);
    EXPECT_EQ((order > 0) - (order < 0), row.sign) << &row - rows;
  }
  EXPECT_NE(lstrcmpW(UAB_TEXT("Fax"), UAB_TEXT("fax")), 0);
  EXPECT_EQ(lstrlenW(nullptr) + lstrlenA(nullptr), 0);
}

}  // namespace
}  // namespace uab
