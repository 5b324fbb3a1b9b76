// Private-profile files as only the stand-in reads them: 8-bit text is UTF-8 there.
#include <gtest/gtest.h>

#include "support/hive.h"

namespace uab {
namespace {

TEST(ProfileFilePosix, Utf8WithAndWithoutMark) {
  TestHive hive;
  const std::string section = "[\xC3\x84]\nx=\xF0\x9F\x93\xA0\xFF\n";
  for (const std::string& content : {section, "\xEF\xBB\xBF" + section}) {
    WCHAR buffer[16] = {};
    Text path = hive.WriteFile("test.ini", content);
    EXPECT_EQ(GetPrivateProfileSectionW(u"\u00E4", buffer, 16, path.c_str()), 6u);
    EXPECT_EQ(Text(buffer), u"x=\U0001F4E0\uFFFD");
  }
}

TEST(ProfileFilePosix, ABufferOfExactlyTheSectionHoldsIt) {
  TestHive hive;
  WCHAR buffer[8] = {};
  Text path = hive.WriteFile("test.ini", "[s]\nabc\nde");
  EXPECT_EQ(GetPrivateProfileSectionW(u"s", buffer, 8, path.c_str()), 7u);
  EXPECT_EQ(Text(buffer, 8), Text(u"abc\0de\0", 8));
  EXPECT_EQ(GetPrivateProfileSectionW(u"s", buffer, 1, path.c_str()), 0u);
  EXPECT_EQ(buffer[0], 0);
}

TEST(ProfileFilePosix, HalfAUnitAtTheEndIsPassedOver) {  // Wine takes the byte for a line
  TestHive hive;
  WCHAR buffer[8] = {};
  Text path = hive.WriteFile("test.ini", {"\xFF\xFE[\0s\0]\0\n\0a\0\n\0x", 15});
  EXPECT_EQ(GetPrivateProfileSectionW(u"s", buffer, 8, path.c_str()), 2u);
  EXPECT_EQ(Text(buffer), u"a");
}

}  // namespace
}  // namespace uab
