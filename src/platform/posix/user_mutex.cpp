// The user's mutex: a lock on the folder of the hive, which needs no right to write there.
#include "platform/user_mutex.h"

#include <fcntl.h>

#include "platform/at_boundary.h"
#include "platform/posix/registry_hive.h"

namespace uab {
namespace {

// A descriptor as a handle: one more than its number, so that none is null.
UserMutexHandle ToHandle(int fd) noexcept {
  return reinterpret_cast<UserMutexHandle>(static_cast<std::intptr_t>(fd) + 1);
}
int ToFd(UserMutexHandle mutex) noexcept { return static_cast<int>(reinterpret_cast<std::intptr_t>(mutex) - 1); }

}  // namespace

UserMutexHandle AcquireUserMutex(bool to_change) {
  UserMutexHandle mutex = nullptr;
  at_boundary([&]() -> HRESULT {
    std::shared_ptr<const Hive> hive;
    if (OpenHive(to_change, &hive) != static_cast<LSTATUS>(ERROR_SUCCESS)) return E_FAIL;
    UniqueFd folder(openat(hive->folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));  // a lock of its own
    if (folder && LockFile(folder.Get(), FileLock::kAlone)) mutex = ToHandle(folder.Detach());
    return S_OK;
  });
  return mutex;
}

void ReleaseUserMutex(UserMutexHandle mutex) noexcept {
  UniqueFd folder(ToFd(mutex));
  UnlockFile(folder.Get());
}

}  // namespace uab
