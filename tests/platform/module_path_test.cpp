#include "platform/module_path.h"

#include <gtest/gtest.h>

#include "support/module_place.h"

namespace uab {
namespace {

using String = std::basic_string<WCHAR>;
constexpr auto kSeparator = static_cast<WCHAR>(std::filesystem::path::preferred_separator);

// Written with "/", as the system writes it.
String Native(std::string_view path) {
  String native(path.begin(), path.end());
  for (WCHAR& unit : native) unit = unit == UAB_TEXT('/') ? kSeparator : unit;
  return native;
}

TEST(ModulePath, FileBesideTheModuleOrOfItsName) {
  const std::string longest = "/" + std::string(258, 'm'), full = "/" + std::string(254, 'm');
  const struct {
    std::string module, name;  // ".ini": the extension of the module's own name
    std::string path;          // empty: not to be had
  } cases[] = {
      {"/lib/KELUAB.so", "ab.dll", "/lib/ab.dll"},
      {"KELUAB.so", "ab.dll", "ab.dll"},
      {"/lib/KELUAB.so", std::string(254, 'n'), "/lib/" + std::string(254, 'n')},  // 259 and the terminator
      {"/lib/KELUAB.so", std::string(255, 'n'), "/lib/"},
      {longest, "", "/"},
      {"", "ab.dll", ""},
      {longest + "m", "ab.dll", ""},
      {"/lib.d/KELUAB.so", ".ini", "/lib.d/KELUAB.ini"},
      {"/lib.d/KELUAB", ".ini", "/lib.d/KELUAB.ini"},
      {"/lib/a.b.so", ".ini", "/lib/a.b.ini"},
      {"/lib/.so", ".ini", "/lib/.ini"},
      {full, ".ini", full + ".ini"},
      {full + "m", ".ini", ""},
      {"", ".ini", ""},
      {longest + "m", ".ini", ""},
  };
  for (const auto& each : cases) {
    ModulePlace place(Native(each.module));
    PathBuffer path = UAB_TEXT("before");
    bool found = each.name == ".ini"
                     ? ModulePathWithExtension(nullptr, UAB_TEXT(".ini"), path)
                     : PathBesideModule(nullptr, String(each.name.begin(), each.name.end()).c_str(), path);
    EXPECT_EQ(found, !each.path.empty()) << each.module << " " << each.name;
    EXPECT_EQ(path, Native(each.path)) << each.module << " " << each.name;
  }
}

}  // namespace
}  // namespace uab
