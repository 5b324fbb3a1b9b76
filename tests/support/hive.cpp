#include "support/hive.h"

#include <fstream>

namespace uab {

Text TestHive::PathOf(std::string_view file_name) const { return (folder_ / file_name).generic_string<WCHAR>(); }

Text TestHive::WriteFile(std::string_view file_name, std::string_view content) const {
  std::ofstream(folder_ / file_name, std::ios::binary)
      .write(content.data(), static_cast<std::streamsize>(content.size()));
  return PathOf(file_name);
}

}  // namespace uab
