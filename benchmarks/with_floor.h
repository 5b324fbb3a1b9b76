// A benchmark with its floor: a loop written by hand that makes the same allocations and copies the same bytes, and
// nothing else. Both run over the same sizes in one process, so that their ratio means something on any machine.
//
//   const WithFloor chain("chain", {10, 1000}, &Chain, &ChainFloor);
//
// at namespace scope registers both; each takes its size from state.range(0). scripts/benchmark pairs them by name.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <initializer_list>
#include <string>

namespace uab {

struct WithFloor {
  using Function = void (*)(benchmark::State&);
  WithFloor(const std::string& name, std::initializer_list<std::int64_t> sizes, Function subject, Function floor) {
    auto* first = benchmark::RegisterBenchmark(name.c_str(), subject);
    auto* second = benchmark::RegisterBenchmark((name + ":floor").c_str(), floor);
    for (std::int64_t size : sizes) {
      first->Arg(size);
      second->Arg(size);
    }
  }
};

}  // namespace uab
