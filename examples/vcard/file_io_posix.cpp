#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "file_io.h"

namespace uab::vcard {
namespace {

bool WriteAll(int file, std::string_view content) noexcept {
  while (!content.empty()) {
    const ssize_t written = ::write(file, content.data(), content.size());
    if (written <= 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return ::fsync(file) == 0;
}

// Makes the new name last through a power failure; the file is whole without it.
void FlushFolder(const std::filesystem::path& folder) noexcept {
  const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return;
  ::fsync(handle);
  ::close(handle);
}

}  // namespace

FileStamp StampOf(const std::filesystem::path& path) noexcept {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0) return {};
  return {static_cast<std::uint64_t>(info.st_size),
          info.st_mtim.tv_sec * std::int64_t{1000000000} + info.st_mtim.tv_nsec};
}

bool ReplaceFileContent(const std::filesystem::path& path, std::string_view content) {
  std::error_code ignored;
  std::filesystem::path target = path;
  if (std::filesystem::is_symlink(path, ignored)) target = std::filesystem::canonical(path, ignored);
  const std::filesystem::path fresh = target.native() + "." + std::to_string(::getpid()) + ".new";
  struct stat old;
  const bool exists = ::stat(target.c_str(), &old) == 0;
  const int file = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) return false;
  bool good = WriteAll(file, content) && (!exists || ::fchmod(file, old.st_mode & 07777) == 0);
  good = ::close(file) == 0 && good;
  good = good && ::rename(fresh.c_str(), target.c_str()) == 0;
  if (good) {
    FlushFolder(target.parent_path());
  } else {
    ::unlink(fresh.c_str());
  }
  return good;
}

}  // namespace uab::vcard
