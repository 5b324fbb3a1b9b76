// A chain of n blocks, made and freed with its head, against as many zeroed allocations of the same sizes and frees,
// and against talloc.
#include "frame/allocation_chain.h"

#include <talloc.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "benchmarks/with_floor.h"

namespace uab {
namespace {

// What values and their strings ask for: a mixture of small sizes, the same in all loops, and nearly the same on the
// average however many blocks there are.
ULONG SizeOf(std::int64_t block) { return 24 + static_cast<ULONG>(block * 5 % 8) * 16; }

void Chain(benchmark::State& state) {
  const std::int64_t count = state.range(0);
  for (auto _ : state) {
    void* head = nullptr;
    if (UABAllocateBuffer(SizeOf(0), &head) != S_OK) return state.SkipWithError("no memory");
    for (std::int64_t i = 1; i < count; ++i) {
      void* block = nullptr;
      if (UABAllocateMore(SizeOf(i), head, &block) != S_OK) return state.SkipWithError("no memory");
      benchmark::DoNotOptimize(block);
    }
    UABFreeBuffer(head);
  }
}

void ChainFloor(benchmark::State& state) {
  const std::int64_t count = state.range(0);
  std::vector<void*> blocks(static_cast<std::size_t>(count));
  for (auto _ : state) {
    std::int64_t i = 0;
    for (void*& block : blocks) {
      const std::size_t size = SizeOf(i++);
      block = std::malloc(size + sizeof(BlockHeader) + 1);
      if (block == nullptr) return state.SkipWithError("no memory");
      std::memset(static_cast<BYTE*>(block) + sizeof(BlockHeader), 0, size);
      benchmark::DoNotOptimize(block);
    }
    benchmark::ClobberMemory();
    // The order in which a chain is freed: the head, then from the newest block to the oldest.
    std::free(blocks[0]);
    for (std::size_t last = blocks.size(); --last > 0;) std::free(blocks[last]);
  }
}

void ChainInTalloc(benchmark::State& state) {
  const std::int64_t count = state.range(0);
  for (auto _ : state) {
    void* head = talloc_zero_size(nullptr, SizeOf(0));
    if (head == nullptr) return state.SkipWithError("no memory");
    for (std::int64_t i = 1; i < count; ++i) {
      void* block = talloc_zero_size(head, SizeOf(i));
      if (block == nullptr) return state.SkipWithError("no memory");
      benchmark::DoNotOptimize(block);
    }
    talloc_free(head);
  }
}

const WithFloor chain("allocation chain, blocks", {4, 10, 1'000, 100'000}, &Chain, &ChainFloor,
                      {"talloc", &ChainInTalloc});

}  // namespace
}  // namespace uab
