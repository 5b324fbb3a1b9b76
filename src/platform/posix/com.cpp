// The task allocator over the C heap, and random GUIDs.
#include <malloc.h>
#include <sys/random.h>

#include <cstdlib>

#include "platform/win32.h"

namespace uab {
namespace {

// One for the process; counting its references would serve nobody.
class HeapAllocator final : public IMalloc {
 public:
  HRESULT QueryInterface(const IID& iid, void** object) override {
    if (object == nullptr) return E_INVALIDARG;
    *object = iid == IID_IUnknown ? this : nullptr;
    return *object != nullptr ? S_OK : E_NOINTERFACE;
  }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  void* Alloc(std::size_t size) override { return std::malloc(size); }
  void* Realloc(void* block, std::size_t size) override { return std::realloc(block, size); }
  void Free(void* block) override { std::free(block); }
  std::size_t GetSize(void* block) override { return malloc_usable_size(block); }
  int DidAlloc(void*) override { return -1; }
  void HeapMinimize() override {}
};

HeapAllocator heap_allocator;

}  // namespace

HRESULT CoGetMalloc(DWORD context, IMalloc** allocator) {
  if (context != 1 || allocator == nullptr) return E_INVALIDARG;
  *allocator = &heap_allocator;
  return S_OK;
}

HRESULT CoCreateGuid(GUID* guid) {
  if (getrandom(guid, sizeof *guid, 0) != static_cast<ssize_t>(sizeof *guid)) return E_FAIL;
  guid->Data3 = static_cast<std::uint16_t>((guid->Data3 & 0x0FFF) | 0x4000);  // version 4, random
  guid->Data4[0] = static_cast<BYTE>((guid->Data4[0] & 0x3F) | 0x80);
  return S_OK;
}

}  // namespace uab
