#include "platform/module_path.h"

#include <gtest/gtest.h>

#include "support/module_place.h"

namespace uab {
namespace {

// Written with "/", as the system writes it.
std::basic_string<WCHAR> Native(std::string_view path) {
  return std::filesystem::path(path).make_preferred().string<WCHAR>();
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
      {"", "ab.dll", ""},
      {longest + "m", "ab.dll", ""},
      {"/lib.d/KELUAB", ".ini", "/lib.d/KELUAB.ini"},
      {"/lib/a.b.so", ".ini", "/lib/a.b.ini"},
      {full, ".ini", full + ".ini"},
      {full + "m", ".ini", ""},
      {"", ".ini", ""},
  };
  for (const auto& each : cases) {
    ModulePlace place(Native(each.module));
    PathBuffer path = UAB_TEXT("before");
    const bool found = each.name == ".ini" ? ModulePathWithExtension(nullptr, UAB_TEXT(".ini"), path)
                                           : PathBesideModule(nullptr, Native(each.name).c_str(), path);
    EXPECT_EQ(found, !each.path.empty()) << each.module << " " << each.name;
    EXPECT_EQ(path, Native(each.path)) << each.module << " " << each.name;
  }
}

}  // namespace
}  // namespace uab
