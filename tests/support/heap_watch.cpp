#include "support/heap_watch.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "frame/module.h"
#include "support/fault_count.h"

namespace uab {
namespace {

struct ThreadState {
  bool watched = false;
  Countdown* countdown = nullptr;
};
constinit thread_local ThreadState thread_state;

// ---- Remembered blocks ---------------------------------------------------------------------------------------------

// The table of blocks must not be seen by what it watches.
template <typename T>
struct MallocAllocator {
  using value_type = T;
  MallocAllocator() = default;
  template <typename U>
  MallocAllocator(const MallocAllocator<U>&) noexcept {}
  T* allocate(std::size_t count) {
    void* block = std::malloc(count * sizeof(T));
    if (block == nullptr) std::abort();
    return static_cast<T*>(block);
  }
  void deallocate(T* block, std::size_t) noexcept { std::free(block); }
  bool operator==(const MallocAllocator&) const = default;
};

struct Block {
  std::uint32_t number;
  const char* heap;
  std::size_t size;
};
using BlockTable = std::unordered_map<const void*, Block, std::hash<const void*>, std::equal_to<>,
                                      MallocAllocator<std::pair<const void* const, Block>>>;

// Usable before any constructor has run, which std::mutex is not everywhere.
class SpinLock {
 public:
  void lock() noexcept {
    while (held_.test_and_set(std::memory_order_acquire)) {
    }
  }
  void unlock() noexcept { held_.clear(std::memory_order_release); }

 private:
  std::atomic_flag held_;
};

constinit SpinLock blocks_lock;
constinit std::atomic<std::size_t> block_count{0};  // lets a delete pass without the lock when nothing is remembered
std::uint32_t block_number = 0;

BlockTable& Blocks() {  // never destroyed: the last delete of the process comes after every destructor
  alignas(BlockTable) static unsigned char storage[sizeof(BlockTable)];
  static BlockTable* table = new (storage) BlockTable;
  return *table;
}

void Remember(const void* block, const char* heap, std::size_t size) {
  if (block == nullptr || !thread_state.watched) return;
  std::lock_guard lock(blocks_lock);
  Blocks().insert_or_assign(block, Block{++block_number, heap, size});
  block_count = Blocks().size();
}

void Forget(const void* block) noexcept {
  if (block == nullptr || block_count.load() == 0) return;
  std::lock_guard lock(blocks_lock);
  Blocks().erase(block);
  block_count = Blocks().size();
}

bool RequestIsRefused() noexcept { return thread_state.countdown != nullptr && thread_state.countdown->Refuses(); }

// ---- The general heap ----------------------------------------------------------------------------------------------

void* New(std::size_t size) noexcept {
  if (RequestIsRefused()) return nullptr;
  void* block = std::malloc(size != 0 ? size : 1);
  Remember(block, "general heap", size);
  return block;
}

void Delete(void* block) noexcept {
  Forget(block);
  std::free(block);
}

void* OrThrow(void* block) {
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

// ---- The task allocator --------------------------------------------------------------------------------------------

// Stands in front of the real one; its blocks are the real one's, so either may free them.
class WatchedAllocator final : public IMalloc {
 public:
  void Install() noexcept { real_ = ExchangeTaskAllocator(this); }
  void Remove() noexcept { ExchangeTaskAllocator(std::exchange(real_, nullptr)); }

  HRESULT UAB_CALL QueryInterface(const IID&, void** object) override {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG UAB_CALL AddRef() override { return 1; }
  ULONG UAB_CALL Release() override { return 1; }
  void* UAB_CALL Alloc(std::size_t size) override {
    if (RequestIsRefused()) return nullptr;
    void* block = real_->Alloc(size);
    Remember(block, "task allocator", size);
    return block;
  }
  void* UAB_CALL Realloc(void* block, std::size_t size) override {
    if (RequestIsRefused()) return nullptr;
    Forget(block);
    void* result = real_->Realloc(block, size);
    Remember(result != nullptr ? result : block, "task allocator", size);
    return result;
  }
  void UAB_CALL Free(void* block) override {
    Forget(block);
    real_->Free(block);
  }
  std::size_t UAB_CALL GetSize(void* block) override { return real_->GetSize(block); }
  int UAB_CALL DidAlloc(void* block) override { return real_->DidAlloc(block); }
  void UAB_CALL HeapMinimize() override { real_->HeapMinimize(); }

 private:
  IMalloc* real_ = nullptr;
};

WatchedAllocator& TaskWatch() {
  static WatchedAllocator allocator;
  return allocator;
}

}  // namespace

HeapWatch::HeapWatch() {
  TaskWatch().Install();
  block_number = 0;
  thread_state.watched = true;
}

HeapWatch::~HeapWatch() {
  thread_state.watched = false;
  TaskWatch().Remove();
  std::lock_guard lock(blocks_lock);
  Blocks().clear();
  block_count = 0;
}

std::size_t HeapWatch::live() const { return block_count.load(); }

std::string HeapWatch::Describe() const {
  UnwatchedScope unwatched;
  std::vector<Block, MallocAllocator<Block>> blocks;  // of the general heap it would wait for the lock when it grows
  {
    std::lock_guard lock(blocks_lock);
    for (const auto& [address, block] : Blocks()) blocks.push_back(block);
  }
  std::sort(blocks.begin(), blocks.end(), [](const Block& a, const Block& b) { return a.number < b.number; });
  std::string text;
  for (const Block& block : blocks) {
    text +=
        "  block " + std::to_string(block.number) + ", " + block.heap + ", " + std::to_string(block.size) + " bytes\n";
  }
  return text;
}

HeapCountdownScope::HeapCountdownScope(Countdown& countdown) noexcept
    : before_(std::exchange(thread_state.countdown, &countdown)) {}
HeapCountdownScope::~HeapCountdownScope() {
  if (thread_state.countdown->refused() != 0) CountFault(Fault::kAllocation);
  thread_state.countdown = before_;
}

UnwatchedScope::UnwatchedScope() noexcept
    : watched_(std::exchange(thread_state.watched, false)),
      countdown_(std::exchange(thread_state.countdown, nullptr)) {}
UnwatchedScope::~UnwatchedScope() { thread_state = {watched_, countdown_}; }

}  // namespace uab

// ---- Operator new and delete, but for over-aligned types, of which the library has none -----------------------------

using uab::Delete;
using uab::New;
using uab::OrThrow;

void* operator new(std::size_t size) { return OrThrow(New(size)); }
void* operator new[](std::size_t size) { return OrThrow(New(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return New(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return New(size); }
void operator delete(void* block) noexcept { Delete(block); }
void operator delete[](void* block) noexcept { Delete(block); }
void operator delete(void* block, std::size_t) noexcept { Delete(block); }
void operator delete[](void* block, std::size_t) noexcept { Delete(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Delete(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { Delete(block); }
