// A property as one self-contained record: what a property list keeps and, byte for byte, what the registry stores.
// Nothing here may ever move. Sizes are bytes; fields are little-endian.
//
//   offset  width  field
//        0      4  recLength: of the whole record; 40 when the padded data length is 8 or less, else that + 32
//        4      4  dataLength: of the out-of-line data before padding to a multiple of 8
//        8     24  the SPropValue as it was given: tag, pad, union; counts hold, pointers are zero
//       32         the data: a string with its terminator, a GUID, a byte run, or a multi-valued block; then padding
//
// Records from the registry are checked once, when they become nodes; from then on they are trusted.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "keluab/values.h"
#include "platform/win32.h"

namespace uab {

struct PropRecord {
  ULONG recLength;
  ULONG dataLength;
  SPropValue value;

  ULONG tag() const noexcept { return value.ulPropTag; }
  BYTE* data() noexcept { return reinterpret_cast<BYTE*>(this + 1); }
  const BYTE* data() const noexcept { return reinterpret_cast<const BYTE*>(this + 1); }
  std::span<const BYTE> bytes() const noexcept { return {reinterpret_cast<const BYTE*>(this), recLength}; }
};
static_assert(sizeof(PropRecord) == 32 && offsetof(PropRecord, value) == 8, "the stored format");

// The shortest record, and the longest data that a record can hold.
inline constexpr ULONG kMinRecordLength = 40;
inline constexpr std::size_t kMaxDataLength = 0xFFFFFFF8u - sizeof(PropRecord) - 8;

// One property of a list: one block of the general heap with the record at its end.
struct PropNode {
  static constexpr ULONG kDirty = 0x00020000;  // written by the next save of the list

  ULONG flags;
  PropRecord record;

  ULONG tag() const noexcept { return record.tag(); }
  bool dirty() const noexcept { return (flags & kDirty) != 0; }
};

struct PropNodeDelete {
  void operator()(PropNode* node) const noexcept { ::operator delete(node); }
};
using PropNodePtr = std::unique_ptr<PropNode, PropNodeDelete>;

// Stores the length of the data of the value's record. A null string counts as an empty one. E_OUTOFMEMORY: more than a
// record can hold. MAPI_E_NO_SUPPORT: a multi-valued type that is not in the table. E_INVALIDARG: values counted, but
// no array.
HRESULT MeasureData(const SPropValue& value, std::size_t* data_length) noexcept;

// The length of a record with so much data.
constexpr std::size_t RecordLength(std::size_t data_length) noexcept {
  std::size_t padded = (data_length + 7) & ~std::size_t{7};
  return padded <= 8 ? kMinRecordLength : padded + sizeof(PropRecord);
}

// Writes the value, whose data has the measured length, as a record; every byte of it.
void WriteRecord(const SPropValue& value, std::size_t data_length, PropRecord& record) noexcept;

// Stores a node that holds the value as a record; its flags are 0. E_OUTOFMEMORY. Errors of MeasureData.
HRESULT MakePropNode(const SPropValue& value, PropNodePtr& node) noexcept;

// Stores a zeroed node with room for a record of size bytes, for a record that is read from elsewhere.
HRESULT MakeEmptyNode(std::size_t size, PropNodePtr& node) noexcept;

// Whether the size bytes that were read into the record are one: lengths that add up, strings that end, runs that lie
// inside. Repairs what cannot be misread: pointer slots become zero, a value without data is an empty one, and data
// behind a type that has none is dropped.
bool CheckRecord(PropRecord& record, std::size_t size) noexcept;

// Zeroes what means nothing in a stored record: the bytes of the union behind a value's own, which are whatever the
// memory of its maker held.
void ClearUnused(PropRecord& record) noexcept;

// Whether both say the same when they are stored.
bool SameStored(const PropRecord& a, const PropRecord& b) noexcept;

// Stores the record's property as a caller's value. Its data is linked to head, or is a head block of its own when head
// is null. E_OUTOFMEMORY.
HRESULT ReadRecordData(const PropRecord& record, void* head, SPropValue& value) noexcept;  // of a value that has some
inline HRESULT ReadPropRecord(const PropRecord& record, void* head, SPropValue& value) noexcept {
  value = record.value;
  return record.dataLength == 0 ? S_OK : ReadRecordData(record, head, value);
}

// The data of a record of one of these types, inside the record; null when it has none.
const WCHAR* RecordText(const PropRecord& record) noexcept;            // PT_UNICODE
std::span<const BYTE> RecordBytes(const PropRecord& record) noexcept;  // PT_BINARY

}  // namespace uab
