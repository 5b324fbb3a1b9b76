// Private-profile files, one set of cases for the system's own reader and for the stand-in.
#include <gtest/gtest.h>

#include <vector>

#include "support/hive.h"

namespace uab {
namespace {

using Lines = std::vector<Text>;

class ProfileFile : public testing::Test {
 protected:
  // The section's lines; the result and the last error are kept.
  Lines Read(std::string_view content, const WCHAR* section, DWORD size = 100) {
    return ReadFrom(hive_.WriteFile("test.ini", content), section, size);
  }
  Lines ReadFrom(const Text& path, const WCHAR* section, DWORD size = 100) {
    WCHAR buffer[100];
    SetLastError(0);
    result_ = GetPrivateProfileSectionW(section, buffer, size, path.c_str());
    error_ = GetLastError();
    EXPECT_EQ(buffer[result_], 0);
    Lines lines;
    for (const WCHAR* line = buffer; *line != 0; line += lines.back().size() + 1) lines.emplace_back(line);
    return lines;
  }

  TestHive hive_;
  DWORD result_ = 0;
  DWORD error_ = 0;
};

TEST_F(ProfileFile, SectionsAndLines) {
  const char kFile[] =
      "; head\r\nstray=1\r\n[One]\r\n  k=v w \r\n;comment\r\n\r\n \t \r\nplain\r\n ; "
      "remark\r\n\tq=\"z\"\t\r\nempty=\r\n"
      "  [Two]  \r\na=b ; no comment\n#h=1\n=x\r\n[Three] tail\rc=d\re=[f]\r\n[one]\r\nx=1\r\n[none]\r\n[ a]b ] "
      "x\r\ny=1\r\n[last]\nend=1";
  const std::pair<const WCHAR*, Lines> rows[] = {
      {UAB_TEXT("oNE"), {UAB_TEXT("k=v w"), UAB_TEXT("plain"), UAB_TEXT("q=\"z\""), UAB_TEXT("empty=")}},
      {UAB_TEXT("Two"), {UAB_TEXT("a=b ; no comment"), UAB_TEXT("#h=1"), UAB_TEXT("=x")}},
      {UAB_TEXT("Three"), {UAB_TEXT("c=d"), UAB_TEXT("e=[f]")}},
      {UAB_TEXT("none"), {}},
      {UAB_TEXT("a]b"), {UAB_TEXT("y=1")}},
      {UAB_TEXT("last"), {UAB_TEXT("end=1")}},
      {UAB_TEXT("missing"), {}},
      {UAB_TEXT("On"), {}},
  };
  for (const auto& [section, lines] : rows) {
    EXPECT_EQ(Read(kFile, section), lines) << Text(section).size();
    DWORD chars = 0;
    for (const Text& line : lines) chars += static_cast<DWORD>(line.size()) + 1;
    EXPECT_EQ(result_, chars);
    EXPECT_EQ(error_, 0u);
  }
}

TEST_F(ProfileFile, BothByteOrders) {
  std::string little = "\xFF\xFE", big = "\xFE\xFF";
  for (WCHAR unit : Text(UAB_TEXT("[S\u00C4\u4E2D]\r\nx=\U0001F4E0\r\n"))) {
    auto low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
    little.append({low, high});
    big.append({high, low});
  }
  for (const std::string& file : {little, big}) {  // Wine folds the case of ASCII letters only
    EXPECT_EQ(Read(file, UAB_TEXT("s\u00C4\u4E2D")), Lines{UAB_TEXT("x=\U0001F4E0")});
  }
}

TEST_F(ProfileFile, ASectionThatDoesNotFitIsCut) {
  for (DWORD size = 3; size < 8; ++size) {
    const Lines lines = Read("[s]\r\nabc\r\nde\r\n", UAB_TEXT("s"), size);
    EXPECT_EQ(result_, size - 2) << size;
    EXPECT_EQ(lines[0], Text(UAB_TEXT("abc")).substr(0, size - 2));
  }
}

TEST_F(ProfileFile, WhatIsNoProfileFile) {
  EXPECT_EQ(ReadFrom(hive_.PathOf("missing.ini"), UAB_TEXT("s")), Lines());
  EXPECT_EQ(error_, ERROR_FILE_NOT_FOUND);
  std::filesystem::create_directory(hive_.Folder() / "folder.ini");
  ReadFrom(hive_.PathOf("folder.ini"), UAB_TEXT("s"));
  EXPECT_EQ(error_, ERROR_ACCESS_DENIED);
  EXPECT_EQ(Read("", UAB_TEXT("s")), Lines());
  EXPECT_EQ(error_, 0u);
}

}  // namespace
}  // namespace uab
