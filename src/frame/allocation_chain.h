// The allocation chain: every block that crosses the library's boundary. Sizes are bytes. Different chains may be used
// from different threads, one chain from one thread at a time. The operations are the exported functions of
// keluab/exports.h; here are the layout and the owners.
#pragma once

#include <cstddef>

#include "keluab/exports.h"
#include "platform/unique_resource.h"

namespace uab {

// In front of the data of every block. A chain is its head, the newest further block, ..., the oldest.
struct BlockHeader {
  static constexpr ULONG kSignature = 0x7B;
  static constexpr BYTE kGuard = 0x7D;  // one byte behind the data

  ULONG signature;
  ULONG size;             // bytes of data
  BlockHeader* previous;  // null: a head
  BlockHeader* next;      // null: the end
};
static_assert(sizeof(BlockHeader) == 24 && offsetof(BlockHeader, size) == 4, "block layout");
static_assert(offsetof(BlockHeader, previous) == 8 && offsetof(BlockHeader, next) == 16, "block layout");

inline constexpr ULONG kMaxBlockSize = 0xFFFFFFFFu - sizeof(BlockHeader) - 1;

// For sizes that are computed: E_OUTOFMEMORY when they exceed what a block holds.
HRESULT AllocateHead(std::size_t size, void** buffer) noexcept;
HRESULT AllocateLinked(std::size_t size, void* head, void** buffer) noexcept;

// The same as AllocateHead, and as AllocateLinked with a copy of size bytes, but for the zeroing: blocks of which the
// library writes every byte itself.
HRESULT AllocateUnwritten(std::size_t size, void** buffer) noexcept;
HRESULT CopyLinked(const void* data, std::size_t size, void* head, void** buffer) noexcept;

// Bytes of a head block's data; 0 for null and for what is no head block.
std::size_t HeadSize(const void* head) noexcept;

// Owners of what has not been handed over yet.
template <typename T>
struct ChainPolicy {
  using Handle = T*;
  static constexpr Handle kNone = nullptr;
  static void Close(Handle head) noexcept { UABFreeBuffer(head); }
};
// Owns a head block and what is linked to it.
template <typename T>
using ChainPtr = UniqueResource<ChainPolicy<T>>;

struct RowSetPolicy {
  using Handle = SRowSet*;
  static constexpr Handle kNone = nullptr;
  static void Close(Handle rows) noexcept { UABFreeProws(rows); }
};
// Owns a row set with its rows' value arrays.
using RowSetPtr = UniqueResource<RowSetPolicy>;

// A new head block for a T, or for an array or structure of size bytes that begins with one. REQUIRES: block is empty.
template <typename T>
HRESULT AllocateInto(ChainPtr<T>& block, std::size_t size = sizeof(T)) noexcept {
  return AllocateHead(size, reinterpret_cast<void**>(block.Put()));
}

// A linked block of size bytes. head is left as it is on failure.
template <typename T>
HRESULT AllocateLinkedInto(T*& block, std::size_t size, void* head) noexcept {
  return AllocateLinked(size, head, reinterpret_cast<void**>(&block));
}

// Sizes of the counted structures.
constexpr std::size_t TagArraySize(std::size_t count) noexcept { return 4 * count + 4; }
constexpr std::size_t RowSetSize(std::size_t count) noexcept { return 16 * count + 8; }
constexpr std::size_t ProblemArraySize(std::size_t count) noexcept { return 12 * count + 4; }

}  // namespace uab
