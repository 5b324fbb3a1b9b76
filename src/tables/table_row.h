// One row of a table: its properties as records, in their order, in one block of the general heap. A row is made whole
// and never changes; one with other values takes its place.
//
//   offset         width  field
//        0             4  count of properties
//        4         4 * n  where each record begins, from the block's start
//        4 + 4 * n 2 * n  the properties' identifiers, packed for the search
//        a multiple of 8  the records, one behind the other
#pragma once

#include <memory>
#include <span>

#include "keluab/values.h"
#include "platform/prefetch.h"
#include "props/prop_list.h"

namespace uab {

class TableRow {
 public:
  TableRow() noexcept = default;  // without properties

  std::size_t count() const noexcept { return block_ != nullptr ? block_->count : 0; }
  const PropRecord& record(std::size_t index) const noexcept;  // REQUIRES: index < count()

  // The first property of the tag's identifier, whatever its type; null when there is none.
  const PropRecord* Find(ULONG tag) const noexcept;

  // Makes the row of a caller's values as they stand, repeats included; of a list's properties. E_INVALIDARG: no values.
  // E_OUTOFMEMORY, errors of MeasureData. The row is as before on an error.
  HRESULT Build(const SRow& row) noexcept;
  HRESULT BuildToStore(const SRow& row) noexcept;  // without what means nothing in a stored record
  HRESULT Pack(const PropList& list) noexcept;

  // Appends the properties to a list, none of them dirty. E_OUTOFMEMORY.
  HRESULT Unpack(PropList& list) const noexcept;

  // Tells the processor that the row will be read soon.
  void Prefetch() const noexcept {
    const auto* bytes = reinterpret_cast<const BYTE*>(block_.get());
    for (std::size_t line = 0; line < kPrefetched; line += 64) UAB_PREFETCH(bytes + line);
  }

 private:
  static constexpr std::size_t kPrefetched = 320;  // bytes: about what a row of five properties has

  struct Block {
    ULONG count;
    ULONG offsets[1];

    std::uint16_t* ids() noexcept { return reinterpret_cast<std::uint16_t*>(offsets + count); }
    PropRecord* at(std::size_t offset) noexcept {
      return reinterpret_cast<PropRecord*>(reinterpret_cast<BYTE*>(this) + offset);
    }
  };
  struct BlockDelete {
    void operator()(Block* block) const noexcept { ::operator delete(block); }
  };
  using BlockPtr = std::unique_ptr<Block, BlockDelete>;

  static std::size_t RecordsAt(std::size_t count) noexcept { return (4 + 6 * count + 7) & ~std::size_t{7}; }

  // Replaces the row by one of count records: length_of(i, &length) stores the length of the data of one, or fails the
  // call; write(i, length, record) writes all of it.
  template <typename LengthOf, typename Write>
  HRESULT Make(std::size_t count, LengthOf length_of, Write write) noexcept;

  BlockPtr block_;  // null: no properties
};

// Stores a value for each column in its order, or without columns every property; the value array is a head block of
// its own. A property is looked up by identifier and shows its stored type; a missing one is a PT_ERROR value holding
// MAPI_E_NOT_FOUND, and the result MAPI_W_ERRORS_RETURNED. E_INVALIDARG: columns without tags. On an error projected is
// left as it is.
HRESULT ProjectRow(const TableRow& row, const SPropTagArray* columns, SRow& projected) noexcept;

// Stores the row's tags in order as a new array.
HRESULT ListTags(const TableRow& row, SPropTagArray** tags) noexcept;

}  // namespace uab
