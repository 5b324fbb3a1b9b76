#include "file_io.h"

#include <fstream>

namespace uab::vcard {

std::optional<std::string> ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file ? static_cast<std::streamoff>(file.tellg()) : -1;
  if (size < 0 || size >= 0xFFFFFFFF) return std::nullopt;
  std::string content(static_cast<std::size_t>(size), '\0');
  file.seekg(0);
  file.read(content.data(), size);
  if (file.gcount() != size) return std::nullopt;
  return content;
}

}  // namespace uab::vcard
