#include "support/fault_count.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace uab {
namespace {

constexpr const char* kKinds[] = {"allocations", "system calls", "provider calls", "kills"};
std::atomic<unsigned long> counts[4];

}  // namespace

void CountFault(Fault fault) noexcept { ++counts[static_cast<int>(fault)]; }

void PrintFaults() {
  const char* before = "faults injected: ";
  for (int kind = 0; kind < 4; ++kind) {
    if (counts[kind] == 0) continue;
    std::printf("%s%lu %s", before, counts[kind].load(), kKinds[kind]);
    before = ", ";
  }
  if (before[0] == ',') std::printf("\n");
}

bool IsSoak() noexcept { return std::getenv("KELUAB_SOAK") != nullptr; }

}  // namespace uab
