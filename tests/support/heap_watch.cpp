#include "support/heap_watch.h"

#include <atomic>
#include <cstdlib>
#include <map>
#include <mutex>
#include <new>
#include <utility>

#include "frame/module.h"
#include "support/fault_count.h"
#include "support/refusing_objects.h"

namespace uab {
namespace {

struct ThreadState {
  bool watched = false;
  Countdown* countdown = nullptr;
  bool in_table = false;
};
constinit thread_local ThreadState thread_state;

// ---- Remembered blocks ---------------------------------------------------------------------------------------------

struct Block {
  std::uint32_t number;
  const char* heap;
  std::size_t size;
};
std::map<const void*, Block> blocks;
std::mutex blocks_mutex;
std::uint32_t block_number = 0;
constinit std::atomic<std::size_t> block_count{0};  // 0 while no HeapWatch lives: then nobody looks at the table

// While it lives, the table is this thread's, and its own memory is not seen by what it watches.
struct TableScope {
  TableScope() noexcept { thread_state.in_table = true; }
  ~TableScope() {
    block_count = blocks.size();
    thread_state.in_table = false;
  }
  UnwatchedScope unwatched;
  std::lock_guard<std::mutex> lock{blocks_mutex};
};

void Remember(const void* block, const char* heap, std::size_t size) {
  if (block == nullptr || !thread_state.watched) return;
  TableScope scope;
  blocks.insert_or_assign(block, Block{++block_number, heap, size});
}

void Forget(const void* block) noexcept {
  if (block == nullptr || block_count == 0 || thread_state.in_table) return;
  TableScope scope;
  blocks.erase(block);
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
class WatchedAllocator final : public Refusing<IMalloc> {
 public:
  void Install() noexcept { real_ = ExchangeTaskAllocator(this); }
  void Remove() noexcept { ExchangeTaskAllocator(std::exchange(real_, nullptr)); }

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
  TableScope scope;
  blocks.clear();
}

std::size_t HeapWatch::live() const { return block_count; }

std::string HeapWatch::Describe() const {
  std::map<std::uint32_t, std::string> lines;
  TableScope scope;
  for (const auto& [address, block] : blocks) {
    lines[block.number] = std::string(block.heap) + ", " + std::to_string(block.size) + " bytes\n";
  }
  std::string text;
  for (const auto& [number, line] : lines) text += "  block " + std::to_string(number) + ", " + line;
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
UnwatchedScope::~UnwatchedScope() {
  thread_state.watched = watched_;
  thread_state.countdown = countdown_;
}

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
