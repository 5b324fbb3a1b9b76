#include "support/failure_sweep.h"

#include "support/system_call_failure.h"

namespace uab {
namespace {

constexpr std::uint32_t kMostRuns = 100'000;  // an operation with more requests does not end

}  // namespace

// What lives from one step of a run to the next; the members go in the opposite order.
struct FailureSweep::Run {
  Run(std::uint32_t request, bool lasting) : refusing(request, lasting) {}

  Countdown refusing;
  Countdown releasing;
  std::optional<HeapWatch> watch;
  std::optional<HeapCountdownScope> heap;
  std::optional<SystemCallCountdownScope> calls;
};

FailureSweep::FailureSweep(Source source, SweepOptions options) : source_(source), options_(options) {}
FailureSweep::~FailureSweep() = default;

// The first run refuses nothing and may leave memory behind: what is made once in a process.
bool FailureSweep::Next() {
  if (failed_ || testing::Test::HasFailure()) return false;
  if (run_ != nullptr) {
    if (refused() && request_ < kMostRuns) {
      any_refused_ = true;
      request_ += options_.stride;
    } else if (phase_ == Phase::kLasting || refused()) {
      EXPECT_FALSE(refused()) << "the operation does not come to an end";
      EXPECT_TRUE(any_refused_) << "the operation requests nothing: there is nothing to refuse";
      return false;
    } else {
      phase_ = phase_ == Phase::kUntouched ? Phase::kSingle : Phase::kLasting;
      request_ = 1;
    }
  }
  run_ = std::make_unique<Run>(request_, phase_ == Phase::kLasting);
  return true;
}

std::string FailureSweep::Describe() const {
  if (phase_ == Phase::kUntouched) return "nothing refused";
  const char* what = source_ == Source::kAllocations ? "allocation " : "system call ";
  return what + std::to_string(request_) + (phase_ == Phase::kLasting ? " and all after it" : "") + " refused";
}

void FailureSweep::WatchHeap() { run_->watch.emplace(); }

void FailureSweep::Refuse() {
  if (source_ == Source::kAllocations) {
    run_->heap.emplace(run_->refusing);
  } else {
    run_->calls.emplace(run_->refusing);
  }
}

void FailureSweep::RefuseNoMore() {
  run_->heap.reset();
  run_->calls.reset();
}

bool FailureSweep::refused() const noexcept { return run_->refusing.refused() != 0; }

void FailureSweep::ExpectReported(HRESULT hr) {
  if (!refused()) return;
  if (source_ == Source::kAllocations) {
    EXPECT_EQ(hr, E_OUTOFMEMORY);
  } else {
    EXPECT_LT(hr, 0) << "a success although a call failed";
  }
}

void FailureSweep::CountRelease() {
  if (!options_.release_may_allocate) run_->heap.emplace(run_->releasing);
}

void FailureSweep::EndRun(HRESULT hr) {
  run_->heap.reset();
  std::size_t live = run_->watch->live();
  std::string blocks = live != 0 ? run_->watch->Describe() : std::string();
  run_->watch.reset();
  auto expect = [&](bool holds, const std::string& what) {
    EXPECT_TRUE(holds) << what;
    failed_ |= !holds;
  };
  expect(refused() || hr >= 0, "fails although nothing was refused");
  expect(run_->releasing.requests() == 0, "a destructor or a Release requests memory");
  if (phase_ == Phase::kUntouched || failed_ || testing::Test::HasFailure()) return;
  expect(live == 0, "blocks outlive the run:\n" + blocks);
}

}  // namespace uab
