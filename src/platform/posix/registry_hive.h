// The hive: the folder that holds every key, and the lock that makes each change one step for all threads and
// processes.
#pragma once

#include <fcntl.h>

#include <memory>

#include "platform/noncopyable.h"
#include "platform/posix/file.h"

namespace uab {

// Every key's folder holds this file; a folder without it is no key. The root's serves as the hive's lock.
inline constexpr char kKeyFile[] = ".key";
// Added to the flags that open one: a link or a pipe in its place is none, and keeps nobody waiting.
inline constexpr int kKeyFileFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

struct Hive : NonCopyable {
  UniqueFd folder;
};

// Opens the current user's hive, looked up in the environment now. ERROR_FILE_NOT_FOUND: there is none yet, and create
// is false.
LSTATUS OpenHive(bool create, std::shared_ptr<const Hive>* hive);

// Holds the lock of a hive. Readers of several files share it, writers have it alone.
class HiveLock : NonCopyable {
 public:
  enum class Mode { kRead, kWrite };
  HiveLock() noexcept = default;
  ~HiveLock();
  // ERROR_ACCESS_DENIED: the hive can't be written. ERROR_SEM_TIMEOUT: somebody else has it for longer than the
  // thread's call may wait. Until this process has it again after that, each call tries once.
  LSTATUS Acquire(const Hive& hive, Mode mode) noexcept;

 private:
  UniqueFd file_;
};

}  // namespace uab
