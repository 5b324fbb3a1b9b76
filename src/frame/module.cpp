#include "frame/module.h"

#include <atomic>
#include <utility>

namespace uab {

IMalloc* module_state::task_allocator = nullptr;

namespace {

HMODULE module_instance = nullptr;
LONG attach_count = 0;
std::atomic<ULONG_PTR> host_value{0};

}  // namespace

bool ProcessAttach(HMODULE module) noexcept {
  if (attach_count == 0) {
    module_instance = module;
    IMalloc* allocator = nullptr;
    if (Failed(CoGetMalloc(1, &allocator)) || allocator == nullptr) return false;
    ExchangeTaskAllocator(allocator);
  }
  ++attach_count;
  return true;
}

void ProcessDetach() noexcept {
  if (attach_count == 1) {
    if (IMalloc* allocator = ExchangeTaskAllocator(nullptr)) allocator->Release();
  }
  --attach_count;
}

HMODULE ModuleInstance() noexcept { return module_instance; }
IMalloc* ExchangeTaskAllocator(IMalloc* allocator) noexcept {
  return std::exchange(module_state::task_allocator, allocator);
}

void OfferHostValue(ULONG_PTR value) noexcept {
  ULONG_PTR none = 0;
  host_value.compare_exchange_strong(none, value);
}

ULONG_PTR HostValue() noexcept { return host_value.load(); }

}  // namespace uab
