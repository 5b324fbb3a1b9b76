// The registry's calls, one set of cases for the system's own and for the stand-in.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/unique_resource.h"
#include "support/hive.h"

namespace uab {
namespace {

using Names = std::vector<Text>;

class RegistryCalls : public testing::Test {
 protected:
  UniqueKey Make(const WCHAR* path, HKEY parent = HKEY_CURRENT_USER, REGSAM access = KEY_ALL_ACCESS) {
    UniqueKey key;
    EXPECT_EQ(Create(parent, path, &key, access), 0);
    return key;
  }
  LSTATUS Create(HKEY parent, const WCHAR* path, UniqueKey* key, REGSAM access = KEY_ALL_ACCESS) {
    return RegCreateKeyExW(parent, path, 0, nullptr, 0, access, nullptr, key->Put(), &disposition_);
  }
  LSTATUS Open(HKEY parent, const WCHAR* path, REGSAM access = KEY_READ) {
    UniqueKey key;
    return RegOpenKeyExW(parent, path, 0, access, key.Put());
  }
  LSTATUS Set(HKEY key, const WCHAR* name, std::string_view data) {
    return RegSetValueExW(key, name, 0, REG_BINARY, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
  }
  std::string Get(HKEY key, const WCHAR* name) {
    DWORD type = 0;
    DWORD size = 0;
    if (RegQueryValueExW(key, name, nullptr, &type, nullptr, &size) != 0) return "(none)";
    std::string data(size, '\0');
    EXPECT_EQ(RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size), 0);
    EXPECT_EQ(size, data.size());
    EXPECT_EQ(type, REG_BINARY);
    return data;
  }
  Names Subkeys(HKEY key) { return Walk(&RegEnumKeyExW, key); }
  Names Values(HKEY key) { return Walk(&RegEnumValueW, key); }
  template <typename Call>
  Names Walk(Call call, HKEY key) {
    Names names;
    std::vector<WCHAR> name(16384);
    for (DWORD index = 0;; ++index) {
      DWORD chars = static_cast<DWORD>(name.size());
      LSTATUS status = call(key, index, name.data(), &chars, nullptr, nullptr, nullptr, nullptr);
      EXPECT_TRUE(status == 0 || status == LSTATUS(ERROR_NO_MORE_ITEMS)) << status;
      if (status != 0) return names;
      EXPECT_EQ(name[chars], 0);
      names.emplace_back(name.data(), chars);
    }
  }

  TestHive hive_;
  DWORD disposition_ = 0;
};

TEST_F(RegistryCalls, AnyNameRoundTrips) {
  Names names = {UAB_TEXT("a/b"),       UAB_TEXT("."),          UAB_TEXT(".."),          UAB_TEXT(".key"),
                 UAB_TEXT("%0041"),     UAB_TEXT("A"),          UAB_TEXT("a.value"),     UAB_TEXT("@"),
                 UAB_TEXT("#"),         UAB_TEXT(" blanks "),   UAB_TEXT("\x01\n\x7F"),  UAB_TEXT("\u00C4\u03A9\u4E2D"),
                 UAB_TEXT("*?:\"<>|"),  UAB_TEXT("\U0001F4E0"), Text(1, WCHAR(0xD83D)),  Text(1, WCHAR(0xDCE0)),
                 Text(254, WCHAR('y')), Text(255, WCHAR('x')),  Text(255, WCHAR(0x4E2D))};
  Names long_names = names;  // of values
  for (WCHAR unit : {u'v', u'w'}) long_names.push_back(Text(16383, unit));
  UniqueKey root = Make(UAB_TEXT("Names"));
  for (const Text& name : names) {
    ASSERT_EQ(Set(Make(name.c_str(), root.Get()).Get(), nullptr, std::to_string(name.size())), 0);
  }
  for (const Text& name : long_names) ASSERT_EQ(Set(root.Get(), name.c_str(), std::to_string(name[0])), 0);
  Names subkeys = Subkeys(root.Get());
  EXPECT_TRUE(std::is_permutation(names.begin(), names.end(), subkeys.begin(), subkeys.end()));
  Names values = Values(root.Get());
  EXPECT_TRUE(std::is_permutation(long_names.begin(), long_names.end(), values.begin(), values.end()));
  EXPECT_EQ(values, Values(root.Get()));
  for (const Text& name : long_names) EXPECT_EQ(Get(root.Get(), name.c_str()), std::to_string(name[0]));
  for (const Text& name : names) {
    EXPECT_EQ(Get(Make(name.c_str(), root.Get()).Get(), nullptr), std::to_string(name.size()));
    EXPECT_EQ(disposition_, REG_OPENED_EXISTING_KEY);
    EXPECT_EQ(RegDeleteKeyW(root.Get(), name.c_str()), 0);
  }
  for (const Text& name : long_names) EXPECT_EQ(RegDeleteValueW(root.Get(), name.c_str()), 0);
  EXPECT_TRUE(Subkeys(root.Get()).empty() && Values(root.Get()).empty());
}

TEST_F(RegistryCalls, CaseIsKeptAndIgnored) {
  UniqueKey root = Make(UAB_TEXT("Top\\F\u00FCx"));
  EXPECT_EQ(disposition_, REG_CREATED_NEW_KEY);
  Make(UAB_TEXT("tOP\\F\u00DCX"));
  EXPECT_EQ(disposition_, REG_OPENED_EXISTING_KEY);
  EXPECT_EQ(Subkeys(Make(UAB_TEXT("TOP")).Get()), Names{UAB_TEXT("F\u00FCx")});
  EXPECT_EQ(Set(root.Get(), UAB_TEXT("Na\u00EFve"), "old"), 0);
  EXPECT_EQ(Set(root.Get(), UAB_TEXT("NA\u00CFVE"), "new"), 0);
  EXPECT_EQ(Values(root.Get()), Names{UAB_TEXT("Na\u00EFve")});
  EXPECT_EQ(Get(root.Get(), UAB_TEXT("na\u00EFve")), "new");
}

TEST_F(RegistryCalls, SubkeysComeInNameOrderAndWalksSeeChanges) {
  UniqueKey root = Make(UAB_TEXT("Order"));
  for (auto* name : {UAB_TEXT("b"), UAB_TEXT("\u00E4"), UAB_TEXT("C"), UAB_TEXT("a b"), UAB_TEXT("A")})
    Make(name, root.Get());
  // Names that differ first in a mark between "Z" and "a" are left out: Windows puts it behind the letters, Wine
  // before.
  Names sorted = {UAB_TEXT("A"), UAB_TEXT("a b"), UAB_TEXT("b"), UAB_TEXT("C"), UAB_TEXT("\u00E4")};
  UniqueKey other = Make(UAB_TEXT("Order"));
  EXPECT_EQ(Subkeys(root.Get()), sorted);
  EXPECT_EQ(Subkeys(other.Get()), sorted);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, UAB_TEXT("order\\c")), 0);
  EXPECT_EQ(RegDeleteKeyW(other.Get(), UAB_TEXT("B")), 0);
  Make(UAB_TEXT("aa"), root.Get());
  sorted = {UAB_TEXT("A"), UAB_TEXT("a b"), UAB_TEXT("aa"), UAB_TEXT("\u00E4")};
  EXPECT_EQ(Subkeys(other.Get()), sorted);
}

TEST_F(RegistryCalls, ErrorNumbers) {
  UniqueKey root = Make(UAB_TEXT("Errors\\Sub\\Deep"));
  root = Make(UAB_TEXT("Errors"));
  ASSERT_EQ(Set(root.Get(), UAB_TEXT("value"), "12345"), 0);
  HKEY key = root.Get();
  UniqueKey none;
  WCHAR name[8];
  BYTE data[8] = {};
  DWORD chars = 3;  // one too few for "Sub"
  DWORD size = 4;
  struct {
    LSTATUS expected;
    LSTATUS status;
    const char* what;
  } rows[] = {
      {2, Open(key, UAB_TEXT("missing")), "open missing"},
      {0, Open(key, nullptr), "open itself"},
      {0, Open(key, UAB_TEXT("Sub\\Deep\\")), "backslash at the end"},
      {161, Open(key, UAB_TEXT("\\Sub")), "backslash at the start"},
      {87, Create(key, Text(300, 'x').c_str(), &none), "key name too long"},  // Wine lets 256 pass
      {259, RegEnumKeyExW(key, 1, name, &(chars = 8), nullptr, nullptr, nullptr, nullptr), "behind the last"},
      {234, RegEnumKeyExW(key, 0, name, &(chars = 3), nullptr, nullptr, nullptr, nullptr), "no room for terminator"},
      {0, RegEnumKeyExW(key, 0, name, &(chars = 4), nullptr, nullptr, nullptr, nullptr), "just room"},
      {234, RegEnumValueW(key, 0, name, &(chars = 5), nullptr, nullptr, nullptr, nullptr), "value name, no room"},
      {234, RegEnumValueW(key, 0, name, &(chars = 6), nullptr, nullptr, data, &(size = 4)), "value data, no room"},
      {259, RegEnumValueW(key, 1, name, &(chars = 8), nullptr, nullptr, nullptr, nullptr), "behind the last value"},
      {2, RegQueryValueExW(key, UAB_TEXT("missing"), nullptr, nullptr, nullptr, &size), "no such value"},
      {234, RegQueryValueExW(key, UAB_TEXT("value"), nullptr, nullptr, data, &(size = 4)), "data too large"},
      {2, RegDeleteValueW(key, UAB_TEXT("missing")), "delete missing value"},
      {2, RegDeleteKeyW(key, UAB_TEXT("missing")), "delete missing key"},
      {5, RegDeleteKeyW(HKEY_CURRENT_USER, UAB_TEXT("Errors\\Sub")), "delete with subkeys"},
      {6, RegCloseKey(nullptr), "close null"},
      {0, Set(key, UAB_TEXT("large"), std::string(2'000'001, 'x')), "a large value"},
      {5, Set(Make(UAB_TEXT("Errors"), HKEY_CURRENT_USER, KEY_READ).Get(), UAB_TEXT("value"), "x"), "read only: set"},
      {5, RegDeleteValueW(Make(UAB_TEXT("Errors"), HKEY_CURRENT_USER, KEY_READ).Get(), UAB_TEXT("value")), "delete"},
  };
  for (auto& row : rows) EXPECT_EQ(row.status, row.expected) << row.what;
  EXPECT_EQ(size, 5u);  // what the value needs
  EXPECT_NE(Set(key, Text(20000, 'x').c_str(), "x"), 0);
  EXPECT_NE(Open(key, Text(300, 'x').c_str()), 0);
  EXPECT_EQ(Get(key, UAB_TEXT("value")), "12345");
  EXPECT_EQ(Get(key, UAB_TEXT("large")), std::string(2'000'001, 'x'));
}

TEST_F(RegistryCalls, HandlesOfDeletedKeysSaySo) {
  UniqueKey key = Make(UAB_TEXT("Gone")), again, none;
  ASSERT_EQ(Set(key.Get(), UAB_TEXT("v"), "data"), 0);
  ASSERT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, UAB_TEXT("GONE")), 0);
  for (bool made_again : {false, true}) {
    WCHAR name[8];
    DWORD chars = 8, size = 0;
    for (LSTATUS status : {Set(key.Get(), UAB_TEXT("v"), "data"),
                           RegQueryValueExW(key.Get(), UAB_TEXT("v"), nullptr, nullptr, nullptr, &size),
                           RegDeleteValueW(key.Get(), UAB_TEXT("v")),
                           RegEnumValueW(key.Get(), 0, name, &chars, nullptr, nullptr, nullptr, nullptr),
                           RegEnumKeyExW(key.Get(), 0, name, &chars, nullptr, nullptr, nullptr, nullptr),
                           Create(key.Get(), UAB_TEXT("below"), &none), Open(key.Get(), UAB_TEXT("below"))}) {
      EXPECT_EQ(status, LSTATUS(ERROR_KEY_DELETED));
    }
    if (made_again) break;
    again = Make(UAB_TEXT("Gone"));
    EXPECT_EQ(disposition_, REG_CREATED_NEW_KEY);
    EXPECT_EQ(Get(again.Get(), UAB_TEXT("v")), "(none)");
  }
}

}  // namespace
}  // namespace uab
