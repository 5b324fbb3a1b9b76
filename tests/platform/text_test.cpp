// String functions and module paths, one set of cases for the system's own and for the stand-ins.
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>

#include "platform/win32.h"

namespace uab {
namespace {

int Sign(int number) { return (number > 0) - (number < 0); }

TEST(Text, MulDivRoundsToNearest) {
  constexpr int kMax = std::numeric_limits<int>::max();
  struct {
    int number, numerator, denominator, expected;
  } rows[] = {{7, 1, 2, 4},
              {-7, 1, 2, -4},
              {7, 1, -2, -4},
              {-7, -1, -2, -4},
              {1, 1, 3, 0},
              {2, 1, 3, 1},
              {5, 0, 7, 0},
              {1, 1, 0, -1},
              {kMax, kMax, kMax, kMax},
              {kMax, 2, 1, -1},
              {3, 100, 7, 43},
              {kMax, 1, 2, 1 << 30},
              {1'000'000, 1'000'000, 2'000'000, 500'000}};
  for (auto& row : rows) {
    EXPECT_EQ(MulDiv(row.number, row.numerator, row.denominator), row.expected)
        << row.number << " * " << row.numerator << " / " << row.denominator;
  }
}

TEST(Text, ComparisonIgnoresCaseOfAllLetters) {
  struct {
    const WCHAR *a, *b;
    int expected;
  } rows[] = {
      {UAB_TEXT("Fax"), UAB_TEXT("fAX"), 0}, {UAB_TEXT("\u00C4\u03A9\u0416"), UAB_TEXT("\u00E4\u03C9\u0436"), 0},
      {UAB_TEXT("a"), UAB_TEXT("B"), -1},    {UAB_TEXT("b"), UAB_TEXT("A"), 1},
      {UAB_TEXT("ab"), UAB_TEXT("A"), 1},    {UAB_TEXT(""), UAB_TEXT("a"), -1}};
  for (auto& row : rows) EXPECT_EQ(Sign(lstrcmpiW(row.a, row.b)), row.expected) << lstrlenW(row.a);
  EXPECT_NE(lstrcmpW(UAB_TEXT("Fax"), UAB_TEXT("fax")), 0);
  EXPECT_EQ(lstrcmpW(UAB_TEXT("Fax"), UAB_TEXT("Fax")), 0);
  EXPECT_EQ(lstrlenW(nullptr), 0);
  EXPECT_EQ(lstrlenA(nullptr), 0);
}

TEST(Text, WideCharToMultiByteCountsTheTerminator) {
  char out[8] = "???????";
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, UAB_TEXT("Entry"), -1, nullptr, 0, nullptr, nullptr), 6);
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, UAB_TEXT("Entry"), -1, out, 6, nullptr, nullptr), 6);
  EXPECT_STREQ(out, "Entry");
  EXPECT_EQ(out[6], '?');
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, UAB_TEXT("Entry"), 2, out, 8, nullptr, nullptr), 2);
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, UAB_TEXT("Entry"), -1, out, 5, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
}

TEST(Modules, PathOfTheProgram) {
  WCHAR path[1024];
  DWORD length = GetModuleFileNameW(nullptr, path, 1024);
  EXPECT_EQ(std::filesystem::path(path).stem(), "platform_test");
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, length + 1), length);
  path[length] = '?';
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, length), length);  // one too few
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(path[length], '?');  // Windows ends what it cut with a terminator, Wine does not
}

}  // namespace
}  // namespace uab
