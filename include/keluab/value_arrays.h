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

// Appends a copy to an array that has room, its data linked to the array. E_OUTOFMEMORY. MAPI_E_NO_SUPPORT: a value
// that is neither a number nor one text or one run of bytes.
inline HRESULT AppendCopy(const MemoryRoutines& memory, const SPropValue& value, ADRENTRY& array) noexcept {
  const ULONG type = PropType(value.ulPropTag);
  if ((type & MV_FLAG) != 0 || type == PT_STRING8 || type == PT_CLSID || type == PT_OBJECT) return MAPI_E_NO_SUPPORT;
  SPropValueUnion copy = value.Value;
  void* data = nullptr;
  if (type == PT_UNICODE && copy.lpszW != nullptr) {
    const std::size_t size = sizeof(WCHAR) * (std::basic_string_view<WCHAR>(copy.lpszW).size() + 1);
    if (size > 0xFFFFFFFF) return E_OUTOFMEMORY;
    const HRESULT hr = memory.allocate_more(static_cast<ULONG>(size), array.rgPropVals, &data);
    if (Failed(hr)) return hr;
    copy.lpszW = static_cast<WCHAR*>(std::memcpy(data, copy.lpszW, size));
  } else if (type == PT_BINARY && copy.bin.lpb != nullptr) {
    if (HRESULT hr = memory.allocate_more(copy.bin.cb, array.rgPropVals, &data); Failed(hr)) return hr;
    copy.bin.lpb = static_cast<BYTE*>(std::memcpy(data, copy.bin.lpb, copy.bin.cb));
  }
  array.rgPropVals[array.cValues++] = {value.ulPropTag, 0, copy};
  return S_OK;
}

// Stores a new array of copies: the tags' values in their order (null: all of first), those of first or else of second,
// and then whatever second has besides. A value that neither has is PT_ERROR with MAPI_E_NOT_FOUND, and the result
// MAPI_W_ERRORS_RETURNED. This answers GetProps, with no second. Nothing is stored on an error. E_INVALIDARG: no tags,
// more than there are identifiers, a null out pointer.
inline HRESULT MakeValues(const MemoryRoutines& memory, const SPropTagArray* tags, const ADRENTRY& first,
                          const ADRENTRY& second, ULONG* count, SPropValue** values) noexcept {
  const ULONG wanted = tags != nullptr ? tags->cValues : first.cValues;
  if (wanted == 0 || wanted > 0xFFFF || second.cValues > 0xFFFF) return E_INVALIDARG;
  if (count == nullptr || values == nullptr) return E_INVALIDARG;
  void* head = nullptr;
  HRESULT hr = memory.allocate_buffer((wanted + second.cValues) * static_cast<ULONG>(sizeof(SPropValue)), &head);
  if (Failed(hr)) return hr;
  std::unique_ptr<void, UABFreeBufferFunction> owner(head, memory.free_buffer);
  ADRENTRY array = {0, 0, static_cast<SPropValue*>(head)};
  bool complete = true;
  for (ULONG i = 0; i < wanted && Succeeded(hr); ++i) {
    const ULONG tag = tags != nullptr ? tags->aulPropTag[i] : first.rgPropVals[i].ulPropTag;
    SPropValue missing = {WithPropType(tag, PT_ERROR), 0, {}};
    missing.Value.err = MAPI_E_NOT_FOUND;
    const SPropValue* value = FindValue(first, tag);
    if (value == nullptr) value = FindValue(second, tag);
    hr = AppendCopy(memory, value != nullptr ? *value : missing, array);
    complete = complete && value != nullptr;
  }
  const ADRENTRY listed = array;
  for (ULONG i = 0; i < second.cValues && Succeeded(hr); ++i) {
    const SPropValue& value = second.rgPropVals[i];
    const ULONG any_type = WithPropType(value.ulPropTag, PT_UNSPECIFIED);
    if (FindValue(listed, any_type) == nullptr) hr = AppendCopy(memory, value, array);
  }
  if (Failed(hr)) return hr;
  *count = array.cValues;
  *values = static_cast<SPropValue*>(owner.release());
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
// null for one that is gone) or else its own, and keeps whatever else it has. Recipients are replaced one by one: after
// an error each is complete or what it was.
template <typename Find>
HRESULT CompleteRecipients(const MemoryRoutines& memory, const SPropTagArray* tags, ADRLIST* list, Find find) noexcept {
  if (list == nullptr) return E_INVALIDARG;
  for (ULONG i = 0; i < list->cEntries && tags != nullptr; ++i) {
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
