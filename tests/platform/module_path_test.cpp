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

TEST(ModulePath, FileBesideTheModule) {
  struct {
    std::string module, name, path;
  } cases[] = {
      {"/lib/KELUAB.so", "ab.dll", "/lib/ab.dll"},
      {"KELUAB.so", "ab.dll", "ab.dll"},
      {"/lib/KELUAB.so", std::string(254, 'n'), "/lib/" + std::string(254, 'n')},  // 259 and the terminator
      {"/lib/KELUAB.so", std::string(255, 'n'), "/lib/"},
      {"/" + std::string(258, 'm'), "", "/"},
  };
  for (const auto& each : cases) {
    ModulePlace place(Native(each.module));
    PathBuffer path;
    EXPECT_TRUE(PathBesideModule(nullptr, String(each.name.begin(), each.name.end()).c_str(), path)) << each.module;
    EXPECT_EQ(path, Native(each.path)) << each.module << " " << each.name;
  }
}

TEST(ModulePath, ExtensionIsThatOfTheFileName) {
  std::string full = "/" + std::string(254, 'm');
  struct {
    std::string module, path;
  } cases[] = {
      {"/lib.d/KELUAB.so", "/lib.d/KELUAB.ini"},
      {"/lib.d/KELUAB", "/lib.d/KELUAB.ini"},
      {"/lib/a.b.so", "/lib/a.b.ini"},
      {"/lib/.so", "/lib/.ini"},
      {full, full + ".ini"},
  };
  for (const auto& each : cases) {
    ModulePlace place(Native(each.module));
    PathBuffer path;
    EXPECT_TRUE(ModulePathWithExtension(nullptr, UAB_TEXT(".ini"), path)) << each.module;
    EXPECT_EQ(path, Native(each.path));
  }
}

TEST(ModulePath, PathThatIsNotToBeHadIsEmpty) {
  for (const std::string& module : {std::string(), "/" + std::string(259, 'm'), "/" + std::string(255, 'm')}) {
    ModulePlace place(Native(module));
    PathBuffer path = UAB_TEXT("before");
    EXPECT_FALSE(ModulePathWithExtension(nullptr, UAB_TEXT(".ini"), path)) << module.size();
    EXPECT_EQ(path[0], 0);
    if (module.size() == 256) continue;  // only the extension does not fit
    EXPECT_FALSE(PathBesideModule(nullptr, UAB_TEXT("ab.dll"), path)) << module.size();
    EXPECT_EQ(path[0], 0);
  }
}

}  // namespace
}  // namespace uab
