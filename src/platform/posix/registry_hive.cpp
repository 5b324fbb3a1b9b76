#include "platform/posix/registry_hive.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <atomic>
#include <string>

namespace uab {
namespace {

constinit std::atomic<bool> waited_in_vain = false;

// A relative folder in the environment counts as none: it would be another one after each change of directory.
std::string ConfigFolder() {
  const char* config = getenv("XDG_CONFIG_HOME");
  if (config != nullptr && config[0] == '/') return config;
  const char* home = getenv("HOME");
  if (home != nullptr && home[0] == '/') return std::string(home) + "/.config";
  return {};
}

bool MakeFolders(const std::string& path) {
  for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    if (mkdir(path.substr(0, end).c_str(), 0700) != 0 && errno != EEXIST) {
      struct stat info;  // a folder above that can only be passed through is as good
      int error = errno;
      if (stat(path.substr(0, end).c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        errno = error;
        return false;
      }
    }
    if (end == std::string::npos) return true;
  }
}

}  // namespace

LSTATUS OpenHive(bool create, std::shared_ptr<const Hive>* hive) {
  std::string path = ConfigFolder();
  if (path.empty()) return ERROR_FILE_NOT_FOUND;
  path += "/keluab/registry";
  auto opened = std::make_shared<Hive>();
  *opened->folder.Put() = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (!opened->folder && errno == ENOENT && create) {
    if (!MakeFolders(path)) return static_cast<LSTATUS>(ErrorFromErrno(errno));
    *opened->folder.Put() = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  }
  if (!opened->folder) return static_cast<LSTATUS>(ErrorFromErrno(errno));
  // An empty key file is the root's from the start. What took it away can't have meant the keys that are still there.
  UniqueFd key_file(openat(opened->folder.Get(), kKeyFile, O_RDONLY | O_CREAT | kKeyFileFlags, 0600));
  if (!key_file && create) return static_cast<LSTATUS>(ErrorFromErrno(errno));
  *hive = std::move(opened);
  return ERROR_SUCCESS;
}

LSTATUS HiveLock::Acquire(const Hive& hive, Mode mode) noexcept {
  bool write = mode == Mode::kWrite;
  *file_.Put() = openat(hive.folder.Get(), kKeyFile, (write ? O_RDWR : O_RDONLY) | kKeyFileFlags);
  if (!file_) {
    // The root is only removed from outside, with all its keys.
    return errno == ENOENT ? ERROR_KEY_DELETED : static_cast<LSTATUS>(ErrorFromErrno(errno));
  }
  const bool obtained = LockFile(file_.Get(), write ? FileLock::kAlone : FileLock::kShared, !waited_in_vain);
  waited_in_vain = !obtained;
  return obtained ? ERROR_SUCCESS : ERROR_SEM_TIMEOUT;
}

HiveLock::~HiveLock() {
  if (file_) UnlockFile(file_.Get());
}

}  // namespace uab
