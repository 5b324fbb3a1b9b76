#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "settings.h"

namespace uab::vcard {

std::filesystem::path DefaultFolder() {
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return std::filesystem::path(data) / "keluab" / "vcards";
  const char* home = std::getenv("HOME");
  return std::filesystem::path(home == nullptr ? "/" : home) / ".local" / "share" / "keluab" / "vcards";
}

std::optional<std::filesystem::path> AskForFolder(ULONG_PTR, const std::filesystem::path& current) {
  // A question, not a result: the output of a host may be read by a program.
  std::cerr << "Folder with the vCard files [" << current.native() << "]: " << std::flush;
  std::string line;
  if (!std::getline(std::cin, line)) {
    std::cerr << "\n";
    return std::nullopt;
  }
  if (line.ends_with('\r')) line.pop_back();
  return line.empty() ? current : std::filesystem::path(line);
}

}  // namespace uab::vcard
