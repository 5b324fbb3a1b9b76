// Owned file descriptors and whole reads and writes, for the stand-ins that live on files.
#pragma once

#include <errno.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>

#include "platform/unique_resource.h"

namespace uab {

// Closing keeps errno.
struct FdPolicy {
  using Handle = int;
  static constexpr Handle kNone = -1;
  static void Close(Handle fd) noexcept {
    int error = errno;
    ::close(fd);
    errno = error;
  }
};
using UniqueFd = UniqueResource<FdPolicy>;

// Windows' number for an errno.
DWORD ErrorFromErrno(int error) noexcept;

// Reads up to size bytes at an offset; fewer at the end of the file, -1 (and errno) on failure.
ssize_t ReadAt(int fd, void* data, std::size_t size, std::size_t offset) noexcept;

// False (and errno) when not all bytes could be written.
bool WriteAll(int fd, const void* data, std::size_t size) noexcept;

enum class FileLock { kShared, kAlone };

// Takes the lock that a descriptor's open file can hold. False: not within the time that the thread's call may wait, or
// at once when it is not patient.
bool LockFile(int fd, FileLock kind, bool patient = true) noexcept;

// Closing alone would not do: a child forked meanwhile has the same open file.
void UnlockFile(int fd) noexcept;

}  // namespace uab
