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
// whether the operation reported what happened or delivered the full result, and that nothing is half done. Without
// check, every run with a refused request has to answer E_OUTOFMEMORY (a failure, for system calls).
//
// The sweep itself sees to it that
//  - the operation succeeds when nothing is refused, and makes at least one request;
//  - when the state of a run is gone, no block is left that act or prepare obtained from either heap, hence no object;
//  - the state's destructors (Release, the undoing of owners) obtain none.
// It ends with the first run that fails; what failed is named by a trace.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include "platform/at_boundary.h"
#include "support/heap_watch.h"

namespace uab {

struct SweepOptions {
  // For objects whose final Release works with the system (saves settings, say): its requests are not counted then.
  bool release_may_allocate = false;
  // Every so many-th request only.
  std::uint32_t stride = 1;
};

class FailureSweep : NonCopyable {
 public:
  enum class Source { kAllocations, kSystemCalls };

  FailureSweep(Source source, SweepOptions options);
  ~FailureSweep();

  // Begins the next run; false: all is swept, or the test has failed.
  bool Next();
  std::string Describe() const;  // which request the run refuses

  // The steps of a run, in their order.
  void WatchHeap();
  template <typename Act>
  HRESULT RunRefused(Act&& act) {
    Refuse();
    HRESULT hr = at_boundary(act);
    RefuseNoMore();
    return hr;
  }
  bool refused() const noexcept;    // did the run refuse a request?
  void ExpectReported(HRESULT hr);  // what a run answers when the test has no check of its own
  void CountRelease();
  void EndRun(HRESULT hr);

 private:
  struct Run;
  void Refuse();
  void RefuseNoMore();

  const Source source_;
  const SweepOptions options_;
  enum class Phase { kUntouched, kSingle, kLasting } phase_ = Phase::kUntouched;
  std::uint32_t request_ = 0;  // which one the run refuses; 0: none
  bool any_refused_ = false;
  bool failed_ = false;
  std::unique_ptr<Run> run_;
};

struct ReportedFailure {};  // in the place of a check: the answer of a refused run is the failure

template <typename Prepare, typename Act, typename Check>
void SweepFailures(FailureSweep::Source source, SweepOptions options, Prepare& prepare, Act& act, Check& check) {
  for (FailureSweep sweep(source, options); sweep.Next();) {
    SCOPED_TRACE(sweep.Describe());
    HRESULT hr;
    sweep.WatchHeap();
    {
      auto state = prepare();
      hr = sweep.RunRefused([&]() -> HRESULT { return act(state); });
      if constexpr (std::is_same_v<std::remove_cv_t<Check>, ReportedFailure>) {
        sweep.ExpectReported(hr);
      } else {
        check(state, hr);
      }
      sweep.CountRelease();
    }
    sweep.EndRun(hr);
  }
}

// Over the requests of memory, of the task allocator and of the general heap alike.
template <typename Prepare, typename Act, typename Check = ReportedFailure>
void ForEachAllocationFailure(Prepare prepare, Act act, Check check = {}, SweepOptions options = {}) {
  SweepFailures(FailureSweep::Source::kAllocations, options, prepare, act, check);
}

// Over the calls made through Sys().
template <typename Prepare, typename Act, typename Check = ReportedFailure>
void ForEachSystemCallFailure(Prepare prepare, Act act, Check check = {}, SweepOptions options = {}) {
  SweepFailures(FailureSweep::Source::kSystemCalls, options, prepare, act, check);
}

}  // namespace uab
