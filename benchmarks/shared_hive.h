// The one hive of all benchmarks, each of which has application keys of its own in it.
#pragma once

#include "support/hive.h"

namespace uab {

inline TestHive& SharedHive() {
  static TestHive hive;
  return hive;
}

}  // namespace uab
