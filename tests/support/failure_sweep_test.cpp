#include "support/failure_sweep.h"

#include <gtest/gtest-spi.h>

#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "frame/allocation_chain.h"

namespace uab {
namespace {

constexpr auto kNoState = [] { return 0; };
constexpr auto kIgnore = [](auto&, HRESULT) {};

TEST(FailureSweep, RefusesEveryFormOfRequestAloneAndForGood) {
  std::string granted, runs;
  auto act = [&](int) -> HRESULT {
    granted.clear();
    auto note = [&](const void* block) { granted += block != nullptr ? '+' : '-'; };
    ChainPtr<BYTE> head;
    AllocateInto(head, 10);
    note(head.Get());
    std::unique_ptr<int> number(new (std::nothrow) int(1));
    note(number.get());
    granted += '-';
    std::vector<int> items(100);  // throws
    granted.back() = '+';
    return granted == "+++" ? S_OK : E_OUTOFMEMORY;
  };
  ForEachAllocationFailure(kNoState, act, [&](int, HRESULT hr) {
    EXPECT_EQ(hr, granted == "+++" ? S_OK : E_OUTOFMEMORY);
    UnwatchedScope unwatched;
    runs += granted + " ";
  });
  EXPECT_EQ(runs, "+++ -++ +-+ ++- +++ --- +-- ++- +++ ");
}

// Each of these faults has to fail the sweep; nothing in here may refer to a local variable.
void* leak[4] = {};
void FreeLeak() {
  for (void*& block : leak) ::operator delete(std::exchange(block, nullptr));
}
HRESULT LeakHeap(int) {
  FreeLeak();
  for (void*& block : leak) block = ::operator new(24, std::nothrow);
  return S_OK;
}
HRESULT LeakChain(int) {
  if (leak[0] != nullptr) UABFreeBuffer(leak[0]);
  return UABAllocateBuffer(24, &leak[0]);
}
struct AllocatingDestructor {
  // A direct call, which no compiler may leave out.
  static HRESULT TakeMemory() { return ::operator delete(::operator new(24)), S_OK; }
  ~AllocatingDestructor() { TakeMemory(); }
};

TEST(FailureSweep, ReportsWhatAnOperationDoesWrong) {
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure(kNoState, LeakHeap, kIgnore), "block 3, general heap, 24 bytes");
  FreeLeak();
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure(kNoState, LeakChain, kIgnore), "task allocator, 49 bytes");
  UABFreeBuffer(leak[0]);
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure(
                              kNoState, [](int) { return S_OK; }, kIgnore),
                          "requests nothing");
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure(
                              kNoState, [](int) { return E_FAIL; }, kIgnore),
                          "was refused");
  EXPECT_NONFATAL_FAILURE(
      ForEachAllocationFailure([] { return AllocatingDestructor(); },
                               [](AllocatingDestructor&) { return AllocatingDestructor::TakeMemory(); }, kIgnore),
      "a destructor or a Release requests memory");
}

}  // namespace
}  // namespace uab
