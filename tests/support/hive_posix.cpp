// The hive of a test outside Windows: the environment names another folder for it.
#include <stdlib.h>

#include <stdexcept>

#include "support/hive.h"

namespace uab {
namespace {

constexpr char kVariable[] = "XDG_CONFIG_HOME";

}  // namespace

TestHive::TestHive() {
  std::string pattern = (std::filesystem::temp_directory_path() / "keluab-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for a test");
  folder_ = pattern;
  if (const char* before = getenv(kVariable)) saved_ = std::filesystem::path(before).u16string();
  setenv(kVariable, (folder_ / "config").c_str(), 1);
}

TestHive::~TestHive() {
  if (saved_.empty()) {
    unsetenv(kVariable);
  } else {
    setenv(kVariable, std::filesystem::path(saved_).c_str(), 1);
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

}  // namespace uab
