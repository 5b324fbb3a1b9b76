// Failure as a test input: an operation is run with its request 1, then 2, then 3 ... failing, first alone, then with
// all requests after it, until a run in which nothing was refused. There is no number to keep up to date.
//
//   ForEachAllocationFailure(
//       [&] { return Chain(); },                                // before each run: what the operation works on
//       [&](Chain& chain) { return chain.Extend(); },           // the operation; returns an HRESULT
//       [&](Chain& chain, HRESULT hr) { EXPECT_EQ(...); });     // after each run
//
// prepare returns the state of one run by value; it is destroyed at the end of the run. Only act runs under failure: it
// holds no assertion and may let std::bad_alloc escape (taken for E_OUTOFMEMORY). check, without failure again, tells
// whether the operation reported what happened or delivered the full result, and that nothing is half done.
//
// The sweep itself sees to it that
//  - the operation succeeds when nothing is refused, and makes at least one request;
//  - when the state of a run is gone, no block is left that act or prepare obtained from either heap, hence no object;
//  - the state's destructors (Release, the undoing of owners) obtain none.
// It ends with the first run that fails; what failed is named by a trace.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/at_boundary.h"
#include "support/heap_watch.h"
#include "support/system_call_failure.h"

namespace uab {

struct SweepOptions {
  // For objects whose final Release works with the system (saves settings, say): its requests are not counted then.
  bool release_may_allocate = false;
  // Failing for good: from every so many-th request only.
  std::uint32_t stride = 1;
};

enum class Requests { kAllocations, kSystemCalls };

class FailureSweep : NonCopyable {
 public:
  FailureSweep(Requests requests, SweepOptions options) noexcept : requests_(requests), options_(options) {}

  // Begins the next run; false: all is swept, or the test has failed.
  bool Next();
  std::string Describe() const;  // which request the run refuses

  // The steps of a run, in their order.
  template <typename Act>
  HRESULT RunRefused(Act&& act) {
    SystemCallScope calls(requests_ == Requests::kSystemCalls ? &*refusing_ : nullptr);
    std::optional<HeapCountdownScope> heap;
    if (requests_ == Requests::kAllocations) heap.emplace(*refusing_);
    return at_boundary(act);
  }
  void EndRun(HRESULT hr, const Countdown& releasing, const HeapWatch& watch);

 private:
  void Expect(bool holds, const std::string& what);

  const Requests requests_;
  const SweepOptions options_;
  enum class Phase { kUntouched, kSingle, kLasting } phase_ = Phase::kUntouched;
  std::uint32_t request_ = 0;  // which one the run refuses; 0: none
  bool any_refused_ = false;
  bool failed_ = false;
  std::optional<Countdown> refusing_;
};

template <typename Prepare, typename Act, typename Check>
void SweepFailures(Requests requests, Prepare prepare, Act act, Check check, SweepOptions options = {}) {
  for (FailureSweep sweep(requests, options); sweep.Next();) {
    SCOPED_TRACE(sweep.Describe());
    HeapWatch watch;
    Countdown releasing;
    HRESULT hr;
    {
      std::optional<HeapCountdownScope> release;
      auto state = prepare();
      hr = sweep.RunRefused([&]() -> HRESULT { return act(state); });
      check(state, hr);
      if (!options.release_may_allocate) release.emplace(releasing);
    }
    sweep.EndRun(hr, releasing, watch);
  }
}

// Over the requests of memory, of the task allocator and of the general heap alike. What the system itself requests
// inside its calls counts as somebody else's: so they are the same ones on every system.
template <typename Prepare, typename Act, typename Check>
void ForEachAllocationFailure(Prepare prepare, Act act, Check check, SweepOptions options = {}) {
  SweepFailures(Requests::kAllocations, prepare, act, check, options);
}

// Over the calls made through Sys().
template <typename Prepare, typename Act, typename Check>
void ForEachSystemCallFailure(Prepare prepare, Act act, Check check, SweepOptions options = {}) {
  SweepFailures(Requests::kSystemCalls, prepare, act, check, options);
}

}  // namespace uab
