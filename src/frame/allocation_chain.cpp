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

// A block that knows its neighbours, though not yet they it, with its data still to be filled; null when there is no
// memory.
BlockHeader* NewBlock(ULONG size, BlockHeader* previous, BlockHeader* next) noexcept {
  IMalloc* allocator = TaskAllocator();
  if (size > kMaxBlockSize || allocator == nullptr) return nullptr;
  auto* block = static_cast<BlockHeader*>(allocator->Alloc(sizeof(BlockHeader) + std::size_t{size} + 1));
  if (block == nullptr) return nullptr;
  *block = {BlockHeader::kSignature, size, previous, next};
  DataOf(block)[size] = BlockHeader::kGuard;
  return block;
}

// Links a new block behind the head; fill writes its data.
template <typename Fill>
inline HRESULT LinkBlock(ULONG size, void* head_data, void** buffer, Fill fill) noexcept {
  BlockHeader* head = HeadOf(head_data);
  if (head == nullptr) return E_INVALIDARG;
  BlockHeader* newest = head->next;
  BlockHeader* block = NewBlock(size, head, newest);
  if (block == nullptr) return E_OUTOFMEMORY;
  if (newest != nullptr) newest->previous = block;
  head->next = block;
  fill(DataOf(block));
  *buffer = DataOf(block);
  return S_OK;
}

}  // namespace

HRESULT AllocateHead(std::size_t size, void** buffer) noexcept {
  *buffer = nullptr;
  return size > kMaxBlockSize ? E_OUTOFMEMORY : UABAllocateBuffer(static_cast<ULONG>(size), buffer);
}

HRESULT AllocateUnwritten(std::size_t size, void** buffer) noexcept {
  BlockHeader* block = size > kMaxBlockSize ? nullptr : NewBlock(static_cast<ULONG>(size), nullptr, nullptr);
  *buffer = block != nullptr ? DataOf(block) : nullptr;
  return block != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT AllocateLinked(std::size_t size, void* head, void** buffer) noexcept {
  *buffer = nullptr;
  return size > kMaxBlockSize ? E_OUTOFMEMORY : UABAllocateMore(static_cast<ULONG>(size), head, buffer);
}

HRESULT CopyLinked(const void* data, std::size_t size, void* head, void** buffer) noexcept {
  *buffer = nullptr;
  if (size > kMaxBlockSize) return E_OUTOFMEMORY;
  return LinkBlock(static_cast<ULONG>(size), head, buffer, [&](BYTE* copy) { std::memcpy(copy, data, size); });
}

}  // namespace uab

using namespace uab;

HRESULT UAB_CALL UABAllocateBuffer(ULONG size, void** buffer) {
  if (buffer == nullptr) return E_INVALIDARG;
  HRESULT hr = AllocateUnwritten(size, buffer);
  if (Succeeded(hr)) std::memset(*buffer, 0, size);
  return hr;
}

HRESULT UAB_CALL UABAllocateMore(ULONG size, void* head_data, void** buffer) {
  if (buffer == nullptr) return E_INVALIDARG;
  *buffer = nullptr;
  return LinkBlock(size, head_data, buffer, [size](BYTE* data) { std::memset(data, 0, size); });
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
