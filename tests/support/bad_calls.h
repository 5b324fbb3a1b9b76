// Goes over the calls of the providers of a test, each of them done badly once.
#pragma once

#include <gtest/gtest.h>

#include "support/fake_provider.h"
#include "support/heap_watch.h"

namespace uab {

// Runs body(call, misdeed) with call 1, 2, 3 ... of each misdeed, until one answers false: no call was done badly.
// Nothing may be left on the heaps behind any run.
template <typename Misdeeds, typename Body>
void ForEachBadCall(const Misdeeds& misdeeds, Body body) {
  for (Misdeed misdeed : misdeeds) {
    bool misbehaved = true;
    for (std::uint32_t call = 1; misbehaved && !testing::Test::HasFailure(); ++call) {
      SCOPED_TRACE(testing::Message() << "misdeed " << static_cast<int>(misdeed) << ", call " << call);
      HeapWatch watch;
      misbehaved = body(call, misdeed);
      EXPECT_EQ(watch.live(), 0u) << watch.Describe();
    }
  }
}

}  // namespace uab
