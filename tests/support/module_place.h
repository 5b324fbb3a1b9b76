// Makes the library believe that its module lies elsewhere: its definition file and the service libraries beside it.
#pragma once

#include <filesystem>
#include <string>

#include "platform/noncopyable.h"
#include "platform/system_calls.h"

namespace uab {

// While it lives, every module's full path is this one; an empty one can't be obtained. One at a time.
class ModulePlace : NonCopyable {
 public:
  explicit ModulePlace(std::basic_string<WCHAR> path) : before_(Sys().get_module_file_name) {
    path_ = std::move(path);
    Sys().get_module_file_name = [](HMODULE, WCHAR* buffer, DWORD size) -> DWORD {
      std::size_t length = path_.copy(buffer, size - 1);
      buffer[length] = 0;
      return path_.size() < size ? static_cast<DWORD>(length) : size;
    };
  }
  // KELUAB in a folder, written as the system writes paths.
  explicit ModulePlace(const std::filesystem::path& folder)
      : ModulePlace((folder / "KELUAB.dll").make_preferred().string<WCHAR>()) {}
  ~ModulePlace() { Sys().get_module_file_name = before_; }

 private:
  decltype(Sys().get_module_file_name) const before_;
  inline static std::basic_string<WCHAR> path_;
};

}  // namespace uab
