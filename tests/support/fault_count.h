// How many faults a test program has injected, by kind: printed at its end as "faults injected: 120 allocations, ...",
// for scripts/soak to add up. Requests that fail together, from one on, count once. And how far a sweep goes: in the
// ordinary tests at every stride-th place, for seconds' sake, in scripts/soak (KELUAB_SOAK in the environment) at each.
#pragma once

#include <cstdint>

namespace uab {

enum class Fault { kAllocation, kSystemCall, kProviderCall, kKill };

void CountFault(Fault fault) noexcept;  // any thread
void PrintFaults();                     // nothing where there was none

bool IsSoak() noexcept;
inline std::uint32_t Stride(std::uint32_t ordinary) noexcept { return IsSoak() ? 1 : ordinary; }

}  // namespace uab
