#include "props/prop_record.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "platform/text_length.h"
#include "props/multi_value.h"

namespace uab {
namespace {

bool HasData(ULONG type) noexcept {
  return type == PT_STRING8 || type == PT_UNICODE || type == PT_CLSID || type == PT_BINARY || IsMultiValued(type);
}

std::size_t SingleValueSize(const SPropValue& value) noexcept {
  switch (PropType(value.ulPropTag)) {
    case PT_STRING8:
      return TextSize(value.Value.lpszA);
    case PT_UNICODE:
      return TextSize(value.Value.lpszW);
    case PT_CLSID:
      return sizeof(GUID);
    case PT_BINARY:
      return value.Value.bin.cb;
    default:
      return 0;
  }
}

// The value's pointer, where it is one to data of a single value.
const void* DataPointer(const SPropValue& value) noexcept {
  switch (PropType(value.ulPropTag)) {
    case PT_STRING8:
      return value.Value.lpszA;
    case PT_UNICODE:
      return value.Value.lpszW;
    case PT_CLSID:
      return value.Value.lpguid;
    case PT_BINARY:
      return value.Value.bin.lpb;
    default:
      return nullptr;
  }
}

// An address of the process that made the record means nothing.
void ClearPointer(SPropValue& value) noexcept {
  ULONG type = PropType(value.ulPropTag);
  if (type == PT_BINARY || IsMultiValued(type)) {
    value.Value.bin.lpb = nullptr;
  } else if (HasData(type)) {
    value.Value.lpszA = nullptr;
  }
}

// Bytes of the union that mean something in a stored record.
std::size_t ValueSize(ULONG tag) noexcept {
  const ULONG type = PropType(tag);
  switch (type) {
    case PT_I2:
    case PT_BOOLEAN:
      return 2;
    case PT_LONG:
    case PT_ERROR:
    case PT_R4:
    case PT_BINARY:
      return 4;
    case PT_DOUBLE:
    case PT_APPTIME:
    case PT_CURRENCY:
    case PT_I8:
    case PT_SYSTIME:
      return 8;
    case PT_STRING8:
    case PT_UNICODE:
    case PT_CLSID:
      return 0;
    default:
      return IsMultiValued(type) ? 4 : sizeof(SPropValueUnion);
  }
}

bool EndsInside8(const PropRecord& record) noexcept {
  return std::memchr(record.data(), 0, record.dataLength) != nullptr;
}

bool EndsInside16(const PropRecord& record) noexcept {
  const BYTE* data = record.data();
  for (std::size_t at = 0; at + 2 <= record.dataLength; at += 2) {
    if (data[at] == 0 && data[at + 1] == 0) return true;
  }
  return false;
}

bool CheckData(PropRecord& record) noexcept {
  SPropValue& value = record.value;
  ULONG type = PropType(value.ulPropTag);
  if (IsMultiValued(type)) {
    if (!AdoptMultiValue(value, record.data(), record.dataLength)) return false;
    if (type == PT_MV_STRING8 || type == PT_MV_UNICODE) {
      std::memset(record.data(), 0, 8 * std::size_t{value.Value.MVszA.cValues});
    } else if (type == PT_MV_BINARY) {
      for (ULONG i = 0; i < value.Value.MVbin.cValues; ++i) value.Value.MVbin.lpbin[i].lpb = nullptr;
    }
    ClearPointer(value);
    return true;
  }
  switch (type) {
    case PT_STRING8:
      return EndsInside8(record);
    case PT_UNICODE:
      return EndsInside16(record);
    case PT_CLSID:
      return record.dataLength == sizeof(GUID);
    case PT_BINARY:
      value.Value.bin.cb = record.dataLength;
      return true;
    default:
      return true;
  }
}

// A node whose record is not written yet.
HRESULT NewNode(std::size_t record_length, PropNodePtr& node) noexcept {
  void* block = ::operator new(offsetof(PropNode, record) + record_length, std::nothrow);
  if (block == nullptr) return E_OUTOFMEMORY;
  node.reset(static_cast<PropNode*>(block));
  node->flags = 0;
  return S_OK;
}

}  // namespace

HRESULT MakeEmptyNode(std::size_t size, PropNodePtr& node) noexcept {
  size = std::max<std::size_t>(size, kMinRecordLength);
  HRESULT hr = NewNode(size, node);
  if (Succeeded(hr)) std::memset(&node->record, 0, size);
  return hr;
}

HRESULT MeasureData(const SPropValue& value, std::size_t* data_length) noexcept {
  std::size_t size = 0;
  if (IsMultiValued(value.ulPropTag)) {
    if (HRESULT hr = MeasureMultiValue(value, &size); Failed(hr)) return hr;
  } else {
    size = SingleValueSize(value);
  }
  if (size > kMaxDataLength) return E_OUTOFMEMORY;
  *data_length = size;
  return S_OK;
}

void WriteRecord(const SPropValue& value, std::size_t data_length, PropRecord& record) noexcept {
  std::size_t length = RecordLength(data_length);
  record.recLength = static_cast<ULONG>(length);
  record.dataLength = static_cast<ULONG>(data_length);
  std::memcpy(&record.value, &value, sizeof(value));
  ClearPointer(record.value);
  BYTE* data = record.data();
  if (IsMultiValued(value.ulPropTag)) {
    std::memset(data, 0, length - sizeof(PropRecord));
    WriteMultiValue(value, data, false);
    return;
  }
  std::memset(data + length - sizeof(PropRecord) - 8, 0, 8);  // the padding lies in the last eight bytes
  if (const void* given = DataPointer(value); given != nullptr && data_length != 0) {
    std::memcpy(data, given, data_length);
  } else {
    std::memset(data, 0, data_length);
  }
}

HRESULT MakePropNode(const SPropValue& value, PropNodePtr& node) noexcept {
  std::size_t size = 0;
  if (HRESULT hr = MeasureData(value, &size); Failed(hr)) return hr;
  if (HRESULT hr = NewNode(RecordLength(size), node); Failed(hr)) return hr;
  WriteRecord(value, size, node->record);
  return S_OK;
}

bool CheckRecord(PropRecord& record, std::size_t size) noexcept {
  if (size < kMinRecordLength || record.recLength != size) return false;
  if (record.dataLength > kMaxDataLength || RecordLength(record.dataLength) != size) return false;
  ClearPointer(record.value);
  ULONG type = PropType(record.value.ulPropTag);
  if (IsMultiValued(type) && !IsKnownMultiValue(type)) return false;
  if (!HasData(type)) {
    record.dataLength = 0;
    record.recLength = kMinRecordLength;
    return true;
  }
  if (record.dataLength != 0) return CheckData(record);
  if (type == PT_BINARY || IsMultiValued(type)) {
    record.value.Value.bin.cb = 0;  // alone: assigning the structure would copy its padding from the stack
  } else if (type != PT_CLSID) {
    record.dataLength = type == PT_STRING8 ? 1 : 2;  // an empty string: its terminator
    std::memset(record.data(), 0, record.dataLength);
  }
  return true;
}

void ClearUnused(PropRecord& record) noexcept {
  std::size_t size = ValueSize(record.value.ulPropTag);
  std::memset(reinterpret_cast<BYTE*>(&record.value.Value) + size, 0, sizeof(SPropValueUnion) - size);
}

bool SameStored(const PropRecord& a, const PropRecord& b) noexcept {
  if (a.tag() != b.tag() || a.dataLength != b.dataLength || a.value.dwAlignPad != b.value.dwAlignPad) return false;
  return std::memcmp(&a.value.Value, &b.value.Value, ValueSize(a.tag())) == 0 &&
         std::memcmp(a.data(), b.data(), a.dataLength) == 0;
}

HRESULT ReadRecordData(const PropRecord& record, void* head, SPropValue& value) noexcept {
  std::size_t size = record.dataLength;
  BYTE* block = nullptr;
  HRESULT hr = head != nullptr ? CopyLinked(record.data(), size, head, reinterpret_cast<void**>(&block))
                               : AllocateUnwritten(size, reinterpret_cast<void**>(&block));
  if (Failed(hr)) return hr;
  if (head == nullptr) std::memcpy(block, record.data(), size);
  switch (PropType(value.ulPropTag)) {
    case PT_STRING8:
    case PT_UNICODE:
    case PT_CLSID:
      value.Value.lpszA = reinterpret_cast<char*>(block);
      return S_OK;
    case PT_BINARY:
      value.Value.bin.cb = static_cast<ULONG>(size);
      value.Value.bin.lpb = block;
      return S_OK;
    default:
      AdoptMultiValue(value, block, size);
      return S_OK;
  }
}

const WCHAR* RecordText(const PropRecord& record) noexcept {
  bool text = PropType(record.value.ulPropTag) == PT_UNICODE && record.dataLength != 0;
  return text ? reinterpret_cast<const WCHAR*>(record.data()) : nullptr;
}

std::span<const BYTE> RecordBytes(const PropRecord& record) noexcept {
  if (PropType(record.value.ulPropTag) != PT_BINARY) return {};
  return {record.data(), record.dataLength};
}

}  // namespace uab
