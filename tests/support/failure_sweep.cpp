#include "support/failure_sweep.h"

namespace uab {

constexpr std::uint32_t kMostRuns = 100'000;  // an operation with more requests does not end

// The first run refuses nothing and may leave memory behind: what is made once in a process.
bool FailureSweep::Next() {
  if (failed_ || testing::Test::HasFailure()) return false;
  const bool refused = refusing_ && refusing_->refused() != 0;
  any_refused_ |= refused;
  if (refused && request_ < kMostRuns) {
    request_ += phase_ == Phase::kLasting ? options_.stride : 1;
  } else if (phase_ == Phase::kLasting || refused) {
    EXPECT_FALSE(refused) << "the operation does not come to an end";
    EXPECT_TRUE(any_refused_) << "the operation requests nothing: there is nothing to refuse";
    return false;
  } else if (refusing_) {
    phase_ = phase_ == Phase::kUntouched ? Phase::kSingle : Phase::kLasting;
    request_ = 1;
  }
  refusing_.emplace(request_, phase_ == Phase::kLasting);
  return true;
}

std::string FailureSweep::Describe() const {
  if (phase_ == Phase::kUntouched) return "nothing refused";
  const char* what = requests_ == Requests::kAllocations ? "allocation " : "system call ";
  return what + std::to_string(request_) + (phase_ == Phase::kLasting ? " and all after it" : "") + " refused";
}

void FailureSweep::Expect(bool holds, const std::string& what) {
  EXPECT_TRUE(holds) << what;
  failed_ |= !holds;
}

void FailureSweep::EndRun(HRESULT hr, const Countdown& releasing, const HeapWatch& watch) {
  UnwatchedScope unwatched;
  Expect(refusing_->refused() != 0 || hr >= 0, "fails although nothing was refused");
  Expect(releasing.requests() == 0, "a destructor or a Release requests memory");
  if (phase_ != Phase::kUntouched) Expect(watch.live() == 0, "blocks outlive the run:\n" + watch.Describe());
}

}  // namespace uab
