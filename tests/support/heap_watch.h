// What a test sees of memory: every request for it, through operator new or the task allocator, and every block that is
// not freed again. A test program's operator new and delete are replaced for it. All scopes concern the calling thread
// only: what other threads request is neither counted nor refused nor remembered.
#pragma once

#include <cstddef>
#include <string>

#include "platform/noncopyable.h"
#include "support/countdown.h"

namespace uab {

// While it lives, the blocks that this thread obtains are remembered until somebody frees them, on whatever thread. One
// at a time.
class HeapWatch : NonCopyable {
 public:
  HeapWatch();
  ~HeapWatch();  // forgets the blocks that are left

  std::size_t live() const;      // blocks not freed yet
  std::string Describe() const;  // the live blocks, oldest first: number of the request, heap, size
};

// While it lives, this thread's requests are counted and refused by countdown. REQUIRES: a HeapWatch lives.
class HeapCountdownScope : NonCopyable {
 public:
  explicit HeapCountdownScope(Countdown& countdown) noexcept;
  ~HeapCountdownScope();

 private:
  Countdown* before_;
};

// While it lives, this thread's requests count as somebody else's: for what a test's own stand-ins need.
class UnwatchedScope : NonCopyable {
 public:
  UnwatchedScope() noexcept;
  ~UnwatchedScope();

 private:
  bool watched_;
  Countdown* countdown_;
};

}  // namespace uab
