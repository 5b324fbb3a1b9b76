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

// Takes memory and gives it back: a direct call, which no compiler may leave out.
HRESULT TakeMemory() {
  ::operator delete(::operator new(24));
  return S_OK;
}

TEST(FailureSweep, RefusesEveryFormOfRequestAloneAndForGood) {
  std::vector<std::string> runs;
  std::string granted;
  granted.reserve(16);
  auto note = [&](const void* block) {
    granted += block != nullptr ? '+' : '-';
    return block != nullptr;
  };
  auto act = [&](int) -> HRESULT {
    granted.clear();
    ChainPtr<BYTE> head;
    AllocateInto(head, 10);
    std::unique_ptr<int> number(new (std::nothrow) int(1));
    const bool all = note(head.Get()) + note(number.get()) == 2;
    try {
      std::vector<int> items(100);
      note(items.data());
    } catch (const std::bad_alloc&) {
      note(nullptr);
      throw;
    }
    return all ? S_OK : E_OUTOFMEMORY;
  };
  ForEachAllocationFailure(kNoState, act, [&](int, HRESULT hr) {
    EXPECT_EQ(hr, granted == "+++" ? S_OK : E_OUTOFMEMORY);
    UnwatchedScope unwatched;
    runs.push_back(granted);
  });
  EXPECT_EQ(runs, (std::vector<std::string>{"+++", "-++", "+-+", "++-", "+++", "---", "+--", "++-", "+++"}));
}

// Each of these faults has to fail the sweep; nothing in here may refer to a local variable.
struct Leak {
  static inline void* last = nullptr;
  static inline void* more[4] = {};
  static void FreeMore() {
    for (void*& block : more) ::operator delete(std::exchange(block, nullptr));
  }
  static HRESULT OfHeap(int) {
    FreeMore();
    for (void*& block : more) block = ::operator new(24, std::nothrow);
    return S_OK;
  }
  static HRESULT OfChain(int) {
    if (last != nullptr) UABFreeBuffer(last);
    return UABAllocateBuffer(24, &last);
  }
};
struct AllocatingDestructor {
  ~AllocatingDestructor() { TakeMemory(); }
};
void Ignore(int, HRESULT) {}

TEST(FailureSweep, ReportsWhatAnOperationDoesWrong) {
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure(kNoState, Leak::OfHeap, Ignore), "block 3, general heap, 24 bytes");
  Leak::FreeMore();
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure(kNoState, Leak::OfChain, Ignore), "task allocator, 49 bytes");
  UABFreeBuffer(Leak::last);
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure(kNoState, [](int) { return S_OK; }), "requests nothing");
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure(kNoState, [](int) { return E_FAIL; }), "nothing was refused");
  EXPECT_NONFATAL_FAILURE(ForEachAllocationFailure([] { return AllocatingDestructor(); },
                                                   [](AllocatingDestructor&) { return TakeMemory(); }),
                          "a destructor or a Release requests memory");
}

}  // namespace
}  // namespace uab
