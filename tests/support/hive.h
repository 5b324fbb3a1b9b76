// A hive and a folder of its own for a test: HKEY_CURRENT_USER is empty while it lives, and nothing of either is left
// behind. One at a time in a process.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/noncopyable.h"
#include "platform/win32.h"

namespace uab {

using Text = std::basic_string<WCHAR>;

class TestHive : NonCopyable {
 public:
  TestHive();  // throws when the system refuses
  ~TestHive();

  const std::filesystem::path& Folder() const noexcept { return folder_; }
  Text PathOf(std::string_view file_name) const;  // full path in the folder
  // Writes a file in the folder, byte for byte, and returns its path.
  Text WriteFile(std::string_view file_name, std::string_view content) const;

 private:
  std::filesystem::path folder_;
  Text saved_;  // posix: the environment's entry before; windows: the name of the key that stands in
};

}  // namespace uab
