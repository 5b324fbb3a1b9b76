// The user's stored profiles, for one thread of one process at a time: reading and changing them takes several registry
// calls, and nobody is to see, or to build on, half of what another does. Who obtains the lock finishes first what a
// process did not live to finish.
//
// The innermost lock: while it is held no other is waited for, this one neither, and nobody else's code runs.
#pragma once

#include "platform/noncopyable.h"
#include "platform/user_mutex.h"

namespace uab {

class ProfileLock : NonCopyable {
 public:
  // S_OK also where the lock can't be had or nothing can be written: what can be read is read. E_OUTOFMEMORY.
  HRESULT AcquireToRead(const WCHAR* app_key) noexcept;
  // E_FAIL: the lock can't be had, or what is unfinished can't be read. E_INVALIDARG: no such key can be.
  // E_OUTOFMEMORY.
  HRESULT AcquireToChange(const WCHAR* app_key) noexcept;

 private:
  UniqueUserMutex mutex_;
};

}  // namespace uab
