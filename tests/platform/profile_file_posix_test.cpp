// Private-profile files as only the stand-in reads them: 8-bit text is UTF-8 there.
#include <gtest/gtest.h>

#include "platform/posix/utf.h"
#include "support/hive.h"

namespace uab {
namespace {

TEST(ProfileFilePosix, WhatOnlyTheStandInReads) {
  TestHive hive;
  const std::string section = "[\xC3\x84]\nx=\xF0\x9F\x93\xA0\xFF\n";
  const struct {
    std::string file;
    const WCHAR* section;
    DWORD size;
    Text read;
  } cases[] = {
      {section, u"\u00E4", 16, u"x=\U0001F4E0\uFFFD"},
      {"\xEF\xBB\xBF" + section, u"\u00E4", 16, u"x=\U0001F4E0\uFFFD"},
      {"[s]\nabc\nde", u"s", 8, Text(u"abc\0de", 6)},  // exactly the section
      {"[s]\nabc\nde", u"s", 1, u""},
      {{"\xFF\xFE[\0s\0]\0\n\0a\0\n\0x", 15}, u"s", 8, u"a"},  // half a unit; Wine takes the byte for a line
  };
  for (const auto& each : cases) {
    WCHAR buffer[16] = {};
    Text path = hive.WriteFile("test.ini", each.file);
    DWORD chars = GetPrivateProfileSectionW(each.section, buffer, each.size, path.c_str());
    EXPECT_EQ(chars, each.read.size() + !each.read.empty()) << &each - cases;
    EXPECT_EQ(Text(buffer, each.read.size() + 2), each.read + Text(2, 0)) << &each - cases;
  }
  WCHAR buffer[8];
  const std::filesystem::path file = hive.Folder() / "a\xE4\xED\xB2\x80.ini";  // no UTF-8
  std::filesystem::copy(hive.WriteFile("test.ini", "[s]\nx"), file);
  EXPECT_EQ(GetPrivateProfileSectionW(u"s", buffer, 8, PathToUtf16(file.native()).c_str()), 2u);
}

}  // namespace
}  // namespace uab
