// String functions and module paths, one set of cases for the system's own and for the stand-ins.
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "platform/win32.h"

namespace uab {
namespace {

TEST(Text, MulDivRoundsToNearest) {
  constexpr int kMax = std::numeric_limits<int>::max();
  const int rows[][4] = {{7, 1, 2, 4}, {-7, 1, 2, -4}, {7, 1, -2, -4}, {1, 1, 3, 0}, {1, 1, 0, -1}, {kMax, 2, 1, -1}};
  for (const auto& row : rows) EXPECT_EQ(MulDiv(row[0], row[1], row[2]), row[3]) << &row - rows;
}

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

TEST(Text, WideCharToMultiByteCountsTheTerminator) {
  char out[8] = "???????";
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, UAB_TEXT("Entry"), -1, out, 5, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, UAB_TEXT("Entry"), -1, out, 6, nullptr, nullptr), 6);
  EXPECT_EQ(std::string(out, 7), std::string("Entry\0?", 7));
}

TEST(Modules, PathOfTheProgram) {
  WCHAR path[1024];
  const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
  EXPECT_EQ(std::filesystem::path(path).stem(), "platform_test");
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, length + 1), length);
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, length), length);  // one too few
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
}

}  // namespace
}  // namespace uab
