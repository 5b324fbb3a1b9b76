// Making the value arrays that a provider hands out: one head block of the library's memory, with all data linked to
// it. Like keluab/objects.h it is code of whoever includes it.
#pragma once

#include <cstring>
#include <memory>
#include <string_view>

#include "keluab/addrbook.h"
#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/exports.h"
#include "keluab/tags.h"
#include "keluab/values.h"

namespace uab {

// The routines that ABProviderOpen is given: whatever a caller is to free comes from them.
struct MemoryRoutines {
  UABAllocateBufferFunction allocate_buffer;
  UABAllocateMoreFunction allocate_more;
  UABFreeBufferFunction free_buffer;
};

// The value of this tag, with any type for PT_UNSPECIFIED; null when there is none.
inline const SPropValue* FindValue(const ADRENTRY& values, ULONG tag) noexcept {
  const ULONG mask = PropType(tag) == PT_UNSPECIFIED ? 0xFFFF0000 : 0xFFFFFFFF;
  for (ULONG i = 0; i < values.cValues; ++i) {
    if ((values.rgPropVals[i].ulPropTag & mask) == (tag & mask)) return &values.rgPropVals[i];
  }
  return nullptr;
}

// Replaces a pointer to size bytes by one to a copy that is linked to a head; null stays null. E_OUTOFMEMORY.
template <typename T>
HRESULT LinkCopy(const MemoryRoutines& memory, void* head, std::size_t size, T*& data) noexcept {
  if (data == nullptr) return S_OK;
  if (size > 0xFFFFFFFF) return E_OUTOFMEMORY;
  void* copy = nullptr;
  if (HRESULT hr = memory.allocate_more(static_cast<ULONG>(size), head, &copy); Failed(hr)) return hr;
  data = static_cast<T*>(std::memcpy(copy, data, size));
  return S_OK;
}

// The same for a text and for bytes, of which there are none where the pointer is null.
template <typename Char>
HRESULT LinkText(const MemoryRoutines& memory, void* head, Char*& text) noexcept {
  if (text == nullptr) return S_OK;
  return LinkCopy(memory, head, sizeof(Char) * (std::basic_string_view<Char>(text).size() + 1), text);
}
inline HRESULT LinkBytes(const MemoryRoutines& memory, void* head, SBinary& bytes) noexcept {
  if (bytes.lpb == nullptr) bytes.cb = 0;
  return LinkCopy(memory, head, bytes.cb, bytes.lpb);
}

// Bytes of one element of a multi-valued type; 0: no such type.
constexpr std::size_t ElementSize(ULONG type) noexcept {
  if (type == PT_MV_I2) return 2;
  if (type == PT_MV_LONG || type == PT_MV_R4) return 4;
  if (type == PT_MV_CLSID || type == PT_MV_BINARY) return 16;
  for (ULONG eight :
       {PT_MV_DOUBLE, PT_MV_CURRENCY, PT_MV_APPTIME, PT_MV_I8, PT_MV_SYSTIME, PT_MV_STRING8, PT_MV_UNICODE}) {
    if (type == eight) return 8;
  }
  return 0;
}

inline HRESULT LinkElements(const MemoryRoutines& memory, void* head, ULONG type, SPropValueUnion& value) noexcept {
  SBinaryArray& array = value.MVbin;  // all arrays have this shape
  if (ElementSize(type) == 0) return MAPI_E_NO_SUPPORT;
  if (array.lpbin == nullptr) array.cValues = 0;
  HRESULT hr = LinkCopy(memory, head, ElementSize(type) * array.cValues, array.lpbin);
  for (ULONG i = 0; i < array.cValues && Succeeded(hr); ++i) {
    if (type == PT_MV_STRING8) hr = LinkText(memory, head, value.MVszA.lppszA[i]);
    if (type == PT_MV_UNICODE) hr = LinkText(memory, head, value.MVszW.lppszW[i]);
    if (type == PT_MV_BINARY) hr = LinkBytes(memory, head, array.lpbin[i]);
  }
  return hr;
}

// Appends a copy to an array that has room, its data linked to the array. A PT_OBJECT value is copied as it is, without
// a reference. E_OUTOFMEMORY. MAPI_E_NO_SUPPORT: a multi-valued type that is none.
inline HRESULT AppendCopy(const MemoryRoutines& memory, const SPropValue& value, ADRENTRY& array) noexcept {
  const ULONG type = PropType(value.ulPropTag);
  SPropValueUnion copy = value.Value;
  HRESULT hr = S_OK;
  if (type == PT_STRING8) hr = LinkText(memory, array.rgPropVals, copy.lpszA);
  if (type == PT_UNICODE) hr = LinkText(memory, array.rgPropVals, copy.lpszW);
  if (type == PT_CLSID) hr = LinkCopy(memory, array.rgPropVals, sizeof(GUID), copy.lpguid);
  if (type == PT_BINARY) hr = LinkBytes(memory, array.rgPropVals, copy.bin);
  if ((type & MV_FLAG) != 0) hr = LinkElements(memory, array.rgPropVals, type, copy);
  if (Failed(hr)) return hr;
  array.rgPropVals[array.cValues++] = {value.ulPropTag, 0, copy};
  return S_OK;
}

// What a column of this tag shows, borrowed: the value of first or else of second; for PR_NULL a placeholder; where
// neither has one, PT_ERROR with MAPI_E_NOT_FOUND.
inline SPropValue ColumnValue(const ADRENTRY& first, const ADRENTRY& second, ULONG tag) noexcept {
  const SPropValue* value = tag != PR_NULL ? FindValue(first, tag) : nullptr;
  if (value == nullptr && tag != PR_NULL) value = FindValue(second, tag);
  if (value != nullptr) return *value;
  SPropValue made;
  std::memset(&made, 0, sizeof made);  // the whole union
  made.ulPropTag = tag == PR_NULL ? PR_NULL : WithPropType(tag, PT_ERROR);
  if (tag != PR_NULL) made.Value.err = MAPI_E_NOT_FOUND;
  return made;
}

// Stores a new array of copies: what the tags' columns show, in their order, or with null tags each value of first;
// and then whatever second has under other identifiers. The result is MAPI_W_ERRORS_RETURNED when a column is PT_ERROR.
// This answers GetProps, with no second. No values at all: count 0 and null. Nothing is stored on an error.
// E_INVALIDARG: a tag array without tags, more values than there are identifiers, a null out pointer.
inline HRESULT MakeValues(const MemoryRoutines& memory, const SPropTagArray* tags, const ADRENTRY& first,
                          const ADRENTRY& second, ULONG* count, SPropValue** values) noexcept {
  const ULONG wanted = tags != nullptr ? tags->cValues : first.cValues;
  if ((tags != nullptr && wanted == 0) || wanted > 0xFFFF || second.cValues > 0xFFFF) return E_INVALIDARG;
  if (count == nullptr || values == nullptr) return E_INVALIDARG;
  void* head = nullptr;
  HRESULT hr = memory.allocate_buffer((wanted + second.cValues) * static_cast<ULONG>(sizeof(SPropValue)), &head);
  if (Failed(hr)) return hr;
  std::unique_ptr<void, UABFreeBufferFunction> owner(head, memory.free_buffer);
  ADRENTRY array = {0, 0, static_cast<SPropValue*>(head)};
  bool complete = true;
  for (ULONG i = 0; i < wanted && Succeeded(hr); ++i) {
    const SPropValue value = tags != nullptr ? ColumnValue(first, second, tags->aulPropTag[i]) : first.rgPropVals[i];
    hr = AppendCopy(memory, value, array);
    complete = complete && PropType(value.ulPropTag) != PT_ERROR;
  }
  const ADRENTRY listed = array;
  for (ULONG i = 0; i < second.cValues && Succeeded(hr); ++i) {
    const SPropValue& value = second.rgPropVals[i];
    const ULONG any_type = WithPropType(value.ulPropTag, PT_UNSPECIFIED);
    if (FindValue(listed, any_type) == nullptr) hr = AppendCopy(memory, value, array);
  }
  if (Failed(hr)) return hr;
  *count = array.cValues;
  *values = array.cValues != 0 ? static_cast<SPropValue*>(owner.release()) : nullptr;
  return complete ? S_OK : MAPI_W_ERRORS_RETURNED;
}

// Stores a new row set of count rows. item(i) is what the i-th row shows of. The result is that of the last row, as
// QueryRows has it; nothing is stored on an error.
template <typename Item>
HRESULT MakeRows(const MemoryRoutines& memory, const SPropTagArray& columns, ULONG count, Item item,
                 SRowSet** rows) noexcept {
  if (count > (0xFFFFFF00 - 8) / sizeof(SRow)) return E_OUTOFMEMORY;
  void* block = nullptr;
  HRESULT hr = memory.allocate_buffer(static_cast<ULONG>(8 + count * sizeof(SRow)), &block);
  if (Failed(hr)) return hr;
  auto* set = static_cast<SRowSet*>(block);
  while (set->cRows < count && Succeeded(hr)) {
    SRow& row = set->aRow[set->cRows];
    hr = MakeValues(memory, &columns, item(set->cRows), {}, &row.cValues, &row.lpProps);
    if (Succeeded(hr)) ++set->cRows;
  }
  if (Succeeded(hr)) {
    *rows = set;
    return hr;
  }
  for (ULONG i = 0; i < set->cRows; ++i) memory.free_buffer(set->aRow[i].lpProps);
  memory.free_buffer(set);
  return hr;
}

// What PrepareRecips does: gives each recipient the tags' values in front, those of find(identifier) (an ADRENTRY*,
// null for one that is gone) or else its own, and keeps whatever else it has under other identifiers. Without tags
// nothing happens. Recipients are replaced one by one: after an error each is complete or what it was.
template <typename Find>
HRESULT CompleteRecipients(const MemoryRoutines& memory, const SPropTagArray* tags, ADRLIST* list, Find find) noexcept {
  if (list == nullptr) return E_INVALIDARG;
  if (tags == nullptr || tags->cValues == 0) return S_OK;
  for (ULONG i = 0; i < list->cEntries; ++i) {
    ADRENTRY& recipient = list->aEntries[i];
    if (recipient.rgPropVals == nullptr) recipient.cValues = 0;
    const SPropValue* id = FindValue(recipient, PR_ENTRYID);
    const ADRENTRY* found = id != nullptr ? find(id->Value.bin) : nullptr;
    ADRENTRY made = {};
    HRESULT hr =
        MakeValues(memory, tags, found != nullptr ? *found : ADRENTRY{}, recipient, &made.cValues, &made.rgPropVals);
    if (Failed(hr)) return hr;
    memory.free_buffer(recipient.rgPropVals);
    recipient = made;
  }
  return S_OK;
}

}  // namespace uab
