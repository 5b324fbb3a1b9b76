// Reading ten properties, spread over an object of n, half of them texts.
#include "props/prop_object.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include "benchmarks/with_floor.h"
#include "frame/allocation_chain.h"
#include "keluab/tags.h"

namespace uab {
namespace {

constexpr WCHAR kText[] = UAB_TEXT("+1 202 555 0143");
constexpr ULONG kWanted = 10;

ULONG TagOf(ULONG property) { return PropTag(property % 2 == 0 ? PT_UNICODE : PT_LONG, 0x6700 + property); }

void ReadTen(benchmark::State& state) {
  const auto count = static_cast<ULONG>(state.range(0));
  std::vector<SPropValue> values(count);
  for (ULONG i = 0; i < count; ++i) {
    values[i].ulPropTag = TagOf(i);
    if (i % 2 == 0) values[i].Value.lpszW = const_cast<WCHAR*>(kText);
  }
  Section section;
  PropObject object(section);
  TagArray<kWanted> tags = {kWanted, {}};
  for (ULONG i = 0; i < kWanted; ++i) tags.aulPropTag[i] = TagOf(i * (count / kWanted) + i % 2);
  if (object.InitProps(count, values.data()) != S_OK) return state.SkipWithError("no memory");
  for (auto _ : state) {
    ULONG read = 0;
    SPropValue* result = nullptr;
    if (object.GetProps(tags.address(), MAPI_UNICODE, &read, &result) != S_OK) return state.SkipWithError("not found");
    benchmark::DoNotOptimize(result);
    UABFreeBuffer(result);
  }
}

// The array and the five texts: allocated, zeroed, copied, freed.
void ReadTenFloor(benchmark::State& state) {
  constexpr std::size_t kOverhead = sizeof(BlockHeader) + 1;
  const SPropValue values[kWanted] = {};
  for (auto _ : state) {
    void* blocks[6];
    for (int i = 0; i < 6; ++i) {
      const std::size_t size = i == 0 ? sizeof values : sizeof kText;
      blocks[i] = std::malloc(size + kOverhead);
      if (blocks[i] == nullptr) return state.SkipWithError("no memory");
      std::memset(blocks[i], 0, size + kOverhead);
      std::memcpy(blocks[i], i == 0 ? static_cast<const void*>(values) : kText, size);
    }
    benchmark::DoNotOptimize(blocks);
    for (void* block : blocks) std::free(block);
  }
}

const WithFloor read_ten("ten properties of an object of n", {20, 50, 200}, &ReadTen, &ReadTenFloor);

}  // namespace
}  // namespace uab
