#include "frame/allocation_chain.h"

#include <cstring>

#include "frame/module.h"

namespace uab {
namespace {

BYTE* DataOf(BlockHeader* block) noexcept { return reinterpret_cast<BYTE*>(block) + sizeof(BlockHeader); }

// The header in front of a caller's pointer; null unless it is that of a head block.
BlockHeader* HeadOf(void* data) noexcept {
  if (data == nullptr) return nullptr;
  auto* block = reinterpret_cast<BlockHeader*>(static_cast<BYTE*>(data) - sizeof(BlockHeader));
  return block->signature == BlockHeader::kSignature && block->previous == nullptr ? block : nullptr;
}

// Zeroes a block's data. Most blocks hold a value or a short string, for which a few stores from both ends, overlapping
// where they meet, cost less than the call of memset.
inline void Clear(void* block, std::size_t size) noexcept {
  auto* data = static_cast<BYTE*>(block);
  if (size < 16 || size > 64) {
    std::memset(data, 0, size);
    return;
  }
  std::memset(data, 0, 16);
  std::memset(data + size - 16, 0, 16);
  if (size > 32) {
    std::memset(data + 16, 0, 16);
    std::memset(data + size - 32, 0, 16);
  }
}

// A head with its data still to be filled; null when there is no memory.
inline BlockHeader* NewBlock(std::size_t size) noexcept {
  IMalloc* allocator = TaskAllocator();
  if (size > kMaxBlockSize || allocator == nullptr) return nullptr;
  auto* block = static_cast<BlockHeader*>(allocator->Alloc(sizeof(BlockHeader) + size + 1));
  if (block == nullptr) return nullptr;
  *block = {BlockHeader::kSignature, static_cast<ULONG>(size), nullptr, nullptr};
  DataOf(block)[size] = BlockHeader::kGuard;
  return block;
}

// Stores the data of a new block behind the head; fill writes it.
template <typename Fill>
inline HRESULT LinkBlock(std::size_t size, void* head_data, void** buffer, Fill fill) noexcept {
  *buffer = nullptr;
  BlockHeader* head = HeadOf(head_data);
  if (head == nullptr) return E_INVALIDARG;
  BlockHeader* block = NewBlock(size);
  if (block == nullptr) return E_OUTOFMEMORY;
  block->previous = head;
  if (BlockHeader* newest = head->next; newest != nullptr) {
    newest->previous = block;
    block->next = newest;
  }
  head->next = block;
  fill(DataOf(block));
  *buffer = DataOf(block);
  return S_OK;
}

}  // namespace

std::size_t HeadSize(const void* head) noexcept {
  const BlockHeader* block = HeadOf(const_cast<void*>(head));
  return block != nullptr ? block->size : 0;
}

HRESULT AllocateHead(std::size_t size, void** buffer) noexcept {
  HRESULT hr = AllocateUnwritten(size, buffer);
  if (Succeeded(hr)) Clear(*buffer, size);
  return hr;
}

HRESULT AllocateUnwritten(std::size_t size, void** buffer) noexcept {
  BlockHeader* block = NewBlock(size);
  *buffer = block != nullptr ? DataOf(block) : nullptr;
  return block != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT AllocateLinked(std::size_t size, void* head, void** buffer) noexcept {
  return LinkBlock(size, head, buffer, [size](BYTE* data) { Clear(data, size); });
}

HRESULT CopyLinked(const void* data, std::size_t size, void* head, void** buffer) noexcept {
  return LinkBlock(size, head, buffer, [&](BYTE* copy) { std::memcpy(copy, data, size); });
}

}  // namespace uab

using namespace uab;

HRESULT UAB_CALL UABAllocateBuffer(ULONG size, void** buffer) {
  return buffer != nullptr ? AllocateHead(size, buffer) : E_INVALIDARG;
}

HRESULT UAB_CALL UABAllocateMore(ULONG size, void* head_data, void** buffer) {
  return buffer != nullptr ? AllocateLinked(size, head_data, buffer) : E_INVALIDARG;
}

HRESULT UAB_CALL UABFreeBuffer(void* buffer) {
  BlockHeader* block = HeadOf(buffer);
  IMalloc* allocator = TaskAllocator();
  if (block == nullptr || allocator == nullptr) return E_INVALIDARG;
  while (block != nullptr) {
    BlockHeader* next = block->next;
    allocator->Free(block);
    block = next;
  }
  return S_OK;
}

void UAB_CALL UABFreeProws(SRowSet* rows) {
  if (rows == nullptr) return;
  for (ULONG i = 0; i < rows->cRows; ++i) UABFreeBuffer(rows->aRow[i].lpProps);
  UABFreeBuffer(rows);
}

void UAB_CALL UABFreePadrlist(ADRLIST* list) {
  if (list == nullptr) return;
  for (ULONG i = 0; i < list->cEntries; ++i) {
    if (list->aEntries[i].rgPropVals != nullptr) UABFreeBuffer(list->aEntries[i].rgPropVals);
  }
  UABFreeBuffer(list);
}
