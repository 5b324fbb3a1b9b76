// The few things that an address file needs from the system. file_io_posix.cpp and file_io_windows.cpp are twins.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace uab::vcard {

// Tells whether somebody has written a file since it was read. All 0: there is no such file.
struct FileStamp {
  std::uint64_t size = 0;
  std::int64_t time = 0;  // as fine as the system counts
  friend bool operator==(const FileStamp&, const FileStamp&) = default;
};
FileStamp StampOf(const std::filesystem::path& path) noexcept;

// The whole file; nothing if it can't be read or has 4 GiB or more.
std::optional<std::string> ReadWholeFile(const std::filesystem::path& path);

// Gives a file new content, or makes it. Whoever reads it, also after a crash at any instant, finds the old or the new
// content whole: the new one is written beside it, flushed to the disk, and takes its name. False: the old one is
// there.
bool ReplaceFileContent(const std::filesystem::path& path, std::string_view content);

}  // namespace uab::vcard
