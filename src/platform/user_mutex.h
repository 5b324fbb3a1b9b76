// The one mutex of the library for all processes of the current user. The system lets go of it when a process ends,
// however that happens.
#pragma once

#include "platform/unique_resource.h"

namespace uab {

using UserMutexHandle = struct UserMutexHandle_*;

// Waits for the mutex, as long as the thread's call may; null: not obtained. A thread that holds it never waits for it
// again. to_change: the user's registry may be made for it where there is none yet.
UserMutexHandle AcquireUserMutex(bool to_change);  // throws nothing
void ReleaseUserMutex(UserMutexHandle mutex) noexcept;

struct UserMutexPolicy {
  using Handle = UserMutexHandle;
  static constexpr Handle kNone = nullptr;
  static void Close(Handle mutex) noexcept { ReleaseUserMutex(mutex); }
};
using UniqueUserMutex = UniqueResource<UserMutexPolicy>;

}  // namespace uab
