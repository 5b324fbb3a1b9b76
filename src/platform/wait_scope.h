// How long a call may wait for what other threads and processes hold: ten seconds in all, however often it has to. The
// outermost scope on a thread counts, so that what a provider or a service library calls meanwhile shares its time; a
// wait outside any scope has ten seconds of its own.
#pragma once

#include <cstdint>

#include "platform/section.h"

namespace uab {

inline constinit DWORD longest_wait = 10'000;  // in milliseconds; changed only by tests, while nothing else runs

// One call of a host.
class WaitScope : NonCopyable {
 public:
  WaitScope() noexcept;
  ~WaitScope();

 private:
  friend class Wait;
  friend class WaitPause;
  WaitScope* const outer_;
  DWORD waited_ = 0;  // of the outermost, in milliseconds
};

// Time that is the user's, such as a dialog: calls made meanwhile have scopes of their own, and behind it the time of
// the scopes round it begins anew.
class WaitPause : NonCopyable {
 public:
  WaitPause() noexcept;
  ~WaitPause();

 private:
  WaitScope* const outer_;
};

// A wait, from here to the end of this object. Made only where there is something to wait for.
class Wait : NonCopyable {
 public:
  Wait() noexcept;
  ~Wait();
  DWORD Left() const noexcept;  // in milliseconds; 0: give up

 private:
  DWORD Waited() const noexcept;
  const std::uint64_t start_;
};

// An object's lock in a call that may wait longer below it: who has waited here for another thread waits less there.
class UAB_SCOPED_CAPABILITY WaitingLock : NonCopyable {
 public:
  explicit WaitingLock(Section& section) noexcept UAB_ACQUIRE(section) : section_(section) {
    Wait wait;
    section_.Enter();
  }
  ~WaitingLock() UAB_RELEASE() { section_.Leave(); }

 private:
  WaitScope scope_;
  Section& section_;
};

}  // namespace uab
