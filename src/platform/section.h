// An owned critical section and its scope. The same thread may enter again.
#pragma once

#include "platform/noncopyable.h"
#include "platform/thread_annotations.h"
#include "platform/win32.h"

namespace uab {

class UAB_CAPABILITY("section") Section : NonCopyable {
 public:
  Section() noexcept { InitializeCriticalSection(&section_); }
  ~Section() { DeleteCriticalSection(&section_); }
  void Enter() noexcept UAB_ACQUIRE() { EnterCriticalSection(&section_); }
  void Leave() noexcept UAB_RELEASE() { LeaveCriticalSection(&section_); }

 private:
  CRITICAL_SECTION section_;
};

class UAB_SCOPED_CAPABILITY LockedScope : NonCopyable {
 public:
  explicit LockedScope(Section& section) noexcept UAB_ACQUIRE(section) : section_(section) { section_.Enter(); }
  ~LockedScope() UAB_RELEASE() { section_.Leave(); }

 private:
  Section& section_;
};

}  // namespace uab
