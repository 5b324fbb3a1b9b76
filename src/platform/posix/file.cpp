#include "platform/posix/file.h"

#include <sys/file.h>
#include <time.h>

#include <algorithm>

#include "platform/wait_scope.h"

namespace uab {

DWORD ErrorFromErrno(int error) noexcept {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return ERROR_FILE_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ELOOP:
      return ERROR_ACCESS_DENIED;
    case ENOMEM:
    case EMFILE:
    case ENFILE:
      return ERROR_NOT_ENOUGH_MEMORY;
    case ENOSPC:
    case EDQUOT:
      return ERROR_DISK_FULL;
    default:
      return ERROR_WRITE_FAULT;
  }
}

ssize_t ReadAt(int fd, void* data, std::size_t size, std::size_t offset) noexcept {
  std::size_t done = 0;
  while (done < size) {
    ssize_t got = pread(fd, static_cast<char*>(data) + done, size - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

bool WriteAll(int fd, const void* data, std::size_t size) noexcept {
  std::size_t done = 0;
  while (done < size) {
    ssize_t put = write(fd, static_cast<const char*>(data) + done, size - done);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return false;
    done += static_cast<std::size_t>(put);
  }
  return true;
}

bool LockFile(int fd, FileLock kind, bool patient) noexcept {
  const int operation = (kind == FileLock::kAlone ? LOCK_EX : LOCK_SH) | LOCK_NB;
  if (flock(fd, operation) == 0) return true;
  Wait wait;
  // Soon at first: most locks are held for a moment only, and who sleeps long comes too late for them.
  for (long pause = 20'000; errno == EWOULDBLOCK || errno == EINTR; pause = std::min(2 * pause, 1'000'000L)) {
    if (!patient || wait.Left() == 0) return false;
    const timespec duration = {0, pause};
    nanosleep(&duration, nullptr);
    if (flock(fd, operation) == 0) return true;
  }
  return false;
}

void UnlockFile(int fd) noexcept { flock(fd, LOCK_UN); }

}  // namespace uab
