// A clock that nobody sets.
#include <time.h>

#include "platform/win32.h"

namespace uab {

std::uint64_t GetTickCount64() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000 + static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000;
}

}  // namespace uab
