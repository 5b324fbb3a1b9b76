// A benchmark with its floor: a loop written by hand that makes the same allocations and copies the same bytes, and
// nothing else; and, where people would use something else in the library's place, that for the same job. All run over
// the same sizes in one process, so that their ratios mean something on any machine.
//
//   const WithFloor chain("chain", {10, 1000}, &Chain, &ChainFloor, {"talloc", &ChainInTalloc});
//
// at namespace scope registers them; each takes its size from state.range(0). scripts/benchmark pairs them by name.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <string>

namespace uab {

struct WithFloor {
  using Function = void (*)(benchmark::State&);
  struct Alternative {
    std::string name;
    Function function;  // null: none
  };

  WithFloor(const std::string& name, std::initializer_list<std::int64_t> sizes, Function subject, Function floor,
            const Alternative& alternative = {}) {
    Register(name, sizes, subject);
    Register(name + ":floor", sizes, floor);
    if (alternative.function != nullptr) Register(name + ":" + alternative.name, sizes, alternative.function);
  }

 private:
  static void Register(const std::string& name, std::initializer_list<std::int64_t> sizes, Function function) {
    auto* made = benchmark::RegisterBenchmark(name.c_str(), [function](benchmark::State& state) {
      // A large block makes the heap join what is free: how the one before left it is worth half of a long chain's time.
      std::free(std::malloc(1 << 20));
      function(state);
    });
    for (std::int64_t size : sizes) made->Arg(size);
    // So many repeats and no more: for counting instructions.
    if (const char* repeats = std::getenv("KELUAB_ITERATIONS")) made->Iterations(std::atoi(repeats));
  }
};

}  // namespace uab
