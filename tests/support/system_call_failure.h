// Puts calls of its own into the table of system calls, so that the n-th one fails as the system would let it fail.
// Like the table itself: while nothing else runs. Calls of other threads are neither counted nor refused.
#pragma once

#include "platform/system_calls.h"
#include "support/countdown.h"

namespace uab {

// While it lives, this thread's system calls are counted and refused by countdown; without one, what they request of
// the heap counts as somebody else's. One at a time.
class SystemCallScope : NonCopyable {
 public:
  explicit SystemCallScope(Countdown* countdown) noexcept;
  ~SystemCallScope();  // the calls of before are in force again

 private:
  SystemCalls before_;
};

}  // namespace uab
