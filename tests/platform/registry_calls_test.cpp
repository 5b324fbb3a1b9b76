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
  LSTATUS Open(HKEY parent, const WCHAR* path) {
    UniqueKey key;
    return RegOpenKeyExW(parent, path, 0, KEY_READ, key.Put());
  }
  LSTATUS Set(const UniqueKey& key, const WCHAR* name, std::string_view data) {
    return RegSetValueExW(key.Get(), name, 0, REG_BINARY, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
  }
  std::string Get(const UniqueKey& key, const WCHAR* name) {
    DWORD type = 0, size = 0;
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, nullptr, &size) != 0) return "(none)";
    std::string data(size, '\0');
    EXPECT_EQ(RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size), 0);
    EXPECT_TRUE(size == data.size() && type == REG_BINARY);
    return data;
  }
  Names Subkeys(const UniqueKey& key) { return Walk(&RegEnumKeyExW, key.Get()); }
  Names Values(const UniqueKey& key) { return Walk(&RegEnumValueW, key.Get()); }
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
  Names names = {UAB_TEXT("a/b"),        UAB_TEXT(".."),        UAB_TEXT(".key"),       UAB_TEXT("%0041"),
                 UAB_TEXT("a.value"),    UAB_TEXT(" blanks "),  UAB_TEXT("\x01\n\x7F"), UAB_TEXT("\u00C4\u03A9\u4E2D"),
                 UAB_TEXT("*?:\"<>|"),   UAB_TEXT("A"),         Text(1, WCHAR(0xD83D)), Text(1, WCHAR(0xDCE0)),
                 UAB_TEXT("\U0001F4E0"), Text(254, WCHAR('y')), Text(255, WCHAR('x')),  Text(255, WCHAR(0x4E2D))};
  UniqueKey root = Make(UAB_TEXT("Names"));
  for (const Text& name : names) {
    ASSERT_EQ(Set(Make(name.c_str(), root.Get()), nullptr, std::to_string(name.size())), 0);
    EXPECT_EQ(disposition_, REG_CREATED_NEW_KEY);
  }
  EXPECT_TRUE(std::ranges::is_permutation(Subkeys(root), names));
  for (const Text& name : names) {
    EXPECT_EQ(Get(Make(name.c_str(), root.Get()), nullptr), std::to_string(name.size()));
    EXPECT_EQ(RegDeleteKeyW(root.Get(), name.c_str()), 0);
  }
  for (WCHAR unit : {u'v', u'w'}) names.push_back(Text(16383, unit));  // names of values may be longer
  for (const Text& name : names) ASSERT_EQ(Set(root, name.c_str(), std::to_string(name[0])), 0);
  EXPECT_TRUE(std::ranges::is_permutation(Values(root), names));
  for (const Text& name : names) {
    EXPECT_EQ(Get(root, name.c_str()), std::to_string(name[0]));
    EXPECT_EQ(RegDeleteValueW(root.Get(), name.c_str()), 0);
  }
  EXPECT_TRUE(Subkeys(root).empty() && Values(root).empty());
}

TEST_F(RegistryCalls, CaseIsKeptAndIgnored) {
  UniqueKey root = Make(UAB_TEXT("Top\\F\u00FCx"));
  Make(UAB_TEXT("tOP\\F\u00DCX"));
  EXPECT_EQ(disposition_, REG_OPENED_EXISTING_KEY);
  EXPECT_EQ(Subkeys(Make(UAB_TEXT("TOP"))), Names{UAB_TEXT("F\u00FCx")});
  Make(UAB_TEXT("S\u0131\\\u017Fi"));  // a dotless i and a long s are letters of their own
  EXPECT_TRUE(Open(HKEY_CURRENT_USER, UAB_TEXT("Si")) == 2 && Open(HKEY_CURRENT_USER, UAB_TEXT("S\u0131\\si")) == 2);
  EXPECT_EQ(Set(root, UAB_TEXT("Na\u00EFve"), "old"), 0);
  EXPECT_EQ(Set(root, UAB_TEXT("NA\u00CFVE"), "new"), 0);
  EXPECT_EQ(Values(root), Names{UAB_TEXT("Na\u00EFve")});
  EXPECT_EQ(Get(root, UAB_TEXT("na\u00EFve")), "new");
}

TEST_F(RegistryCalls, SubkeysComeInNameOrderAndWalksSeeChanges) {
  UniqueKey root = Make(UAB_TEXT("Order")), other = Make(UAB_TEXT("Order"));
  for (auto* name : {UAB_TEXT("b"), UAB_TEXT("\u00E4"), UAB_TEXT("C"), UAB_TEXT("a b"), UAB_TEXT("A")})
    Make(name, root.Get());
  // Without names that differ first in a mark between "Z" and "a": Windows puts it behind the letters, Wine before.
  const Names sorted = {UAB_TEXT("A"), UAB_TEXT("a b"), UAB_TEXT("b"), UAB_TEXT("C"), UAB_TEXT("\u00E4")};
  EXPECT_EQ(Subkeys(root), sorted);
  EXPECT_EQ(Subkeys(other), sorted);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, UAB_TEXT("order\\c")), 0);
  EXPECT_EQ(RegDeleteKeyW(root.Get(), UAB_TEXT("B")), 0);
  Make(UAB_TEXT("aa"), root.Get());
  EXPECT_EQ(Subkeys(other), (Names{UAB_TEXT("A"), UAB_TEXT("a b"), UAB_TEXT("aa"), UAB_TEXT("\u00E4")}));
}

TEST_F(RegistryCalls, ErrorNumbers) {
  UniqueKey root = Make(UAB_TEXT("Errors\\Sub\\Deep")), none;
  root = Make(UAB_TEXT("Errors"));
  ASSERT_EQ(Set(root, UAB_TEXT("value"), "12345"), 0);
  const UniqueKey read_only = Make(UAB_TEXT("Errors"), HKEY_CURRENT_USER, KEY_READ);
  HKEY key = root.Get();
  WCHAR name[8];
  BYTE data[8] = {};
  DWORD chars = 0, size = 0;
  const struct {
    LSTATUS expected, status;
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
      {0, static_cast<LSTATUS>(size) - 5, "what the value needs"},
      {2, RegDeleteValueW(key, UAB_TEXT("missing")), "delete missing value"},
      {2, RegDeleteKeyW(key, UAB_TEXT("missing")), "delete missing key"},
      {5, RegDeleteKeyW(HKEY_CURRENT_USER, UAB_TEXT("Errors\\Sub")), "delete with subkeys"},
      {6, RegCloseKey(nullptr), "close null"},
      {0, Set(root, UAB_TEXT("large"), std::string(2'000'001, 'x')), "a large value"},
      {5, Set(read_only, UAB_TEXT("value"), "x"), "read only: set"},
      {5, RegDeleteValueW(read_only.Get(), UAB_TEXT("value")), "read only: delete"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.status, row.expected) << row.what;
  EXPECT_NE(Set(root, Text(20000, 'x').c_str(), "x"), 0);
  EXPECT_NE(Open(key, Text(300, 'x').c_str()), 0);
  EXPECT_EQ(Get(root, UAB_TEXT("value")), "12345");
  EXPECT_EQ(Get(root, UAB_TEXT("large")), std::string(2'000'001, 'x'));
}

TEST_F(RegistryCalls, HandlesOfDeletedKeysSaySo) {
  UniqueKey key = Make(UAB_TEXT("Gone")), none;
  ASSERT_EQ(Set(key, UAB_TEXT("v"), "data"), 0);
  ASSERT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, UAB_TEXT("GONE")), 0);
  UniqueKey again = Make(UAB_TEXT("Gone"));
  EXPECT_EQ(disposition_, REG_CREATED_NEW_KEY);
  EXPECT_EQ(Get(again, UAB_TEXT("v")), "(none)");
  WCHAR name[8];
  DWORD chars = 8, size = 0;
  for (LSTATUS status :
       {Set(key, UAB_TEXT("v"), "data"), RegQueryValueExW(key.Get(), UAB_TEXT("v"), nullptr, nullptr, nullptr, &size),
        RegDeleteValueW(key.Get(), UAB_TEXT("v")),
        RegEnumValueW(key.Get(), 0, name, &chars, nullptr, nullptr, nullptr, nullptr),
        RegEnumKeyExW(key.Get(), 0, name, &chars, nullptr, nullptr, nullptr, nullptr),
        Create(key.Get(), UAB_TEXT("below"), &none), Open(key.Get(), UAB_TEXT("below"))}) {
    EXPECT_EQ(status, LSTATUS(ERROR_KEY_DELETED));
  }
}

}  // namespace
}  // namespace uab
