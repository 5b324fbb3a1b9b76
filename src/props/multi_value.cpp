#include "props/multi_value.h"

#include <cstring>

#include "platform/text_length.h"

namespace uab {
namespace {

// Bytes of one element of the array, of one pointer for strings; 0 for a type that is not in the table.
std::size_t ElementSize(ULONG type) noexcept {
  switch (type) {
    case PT_MV_I2:
      return 2;
    case PT_MV_LONG:
    case PT_MV_R4:
      return 4;
    case PT_MV_DOUBLE:
    case PT_MV_CURRENCY:
    case PT_MV_APPTIME:
    case PT_MV_I8:
    case PT_MV_SYSTIME:
    case PT_MV_STRING8:
    case PT_MV_UNICODE:
      return 8;
    case PT_MV_CLSID:
    case PT_MV_BINARY:
      return 16;
    default:
      return 0;
  }
}

template <typename Char>
void WriteStrings(Char* const* texts, ULONG count, BYTE* block, bool keep_pointers) noexcept {
  BYTE* next = block + 8 * std::size_t{count};
  for (ULONG i = 0; i < count; ++i) {
    std::size_t size = TextSize(texts[i]);
    if (texts[i] != nullptr) std::memcpy(next, texts[i], size);
    if (keep_pointers) reinterpret_cast<Char**>(block)[i] = reinterpret_cast<Char*>(next);
    next += size;
  }
}

void WriteRuns(const SBinary* runs, ULONG count, BYTE* block, bool keep_pointers) noexcept {
  BYTE* next = block + sizeof(SBinary) * std::size_t{count};
  auto* entries = reinterpret_cast<SBinary*>(block);
  for (ULONG i = 0; i < count; ++i) {
    if (runs[i].lpb != nullptr) std::memcpy(next, runs[i].lpb, runs[i].cb);
    entries[i].cb = runs[i].cb;
    entries[i].lpb = keep_pointers ? next : nullptr;
    next += runs[i].cb;
  }
}

// Steps over one string and its terminator; 0 when the terminator is not inside.
template <typename Char>
std::size_t StringAt(const BYTE* data, std::size_t room) noexcept {
  Char unit;
  for (std::size_t at = 0; at + sizeof(Char) <= room; at += sizeof(Char)) {
    std::memcpy(&unit, data + at, sizeof unit);
    if (unit == 0) return at + sizeof(Char);
  }
  return 0;
}

template <typename Char>
bool AdoptStrings(ULONG count, BYTE* block, std::size_t size) noexcept {
  std::size_t at = 8 * std::size_t{count};
  for (ULONG i = 0; i < count; ++i) {
    std::size_t length = StringAt<Char>(block + at, size - at);
    if (length == 0) return false;
    reinterpret_cast<Char**>(block)[i] = reinterpret_cast<Char*>(block + at);
    at += length;
  }
  return true;
}

bool AdoptRuns(ULONG count, BYTE* block, std::size_t size) noexcept {
  auto* entries = reinterpret_cast<SBinary*>(block);
  std::size_t at = sizeof(SBinary) * std::size_t{count};
  for (ULONG i = 0; i < count; ++i) {
    if (entries[i].cb > size - at) return false;
    entries[i].lpb = block + at;
    at += entries[i].cb;
  }
  return true;
}

}  // namespace

bool IsKnownMultiValue(ULONG type) noexcept { return ElementSize(type) != 0; }

HRESULT MeasureMultiValue(const SPropValue& value, std::size_t* size) noexcept {
  ULONG type = PropType(value.ulPropTag);
  std::size_t element = ElementSize(type);
  if (element == 0) return MAPI_E_NO_SUPPORT;
  ULONG count = value.Value.MVbin.cValues;
  if (count != 0 && value.Value.MVbin.lpbin == nullptr) return E_INVALIDARG;
  *size = element * count;
  for (ULONG i = 0; i < count; ++i) {
    if (type == PT_MV_STRING8) {
      *size += TextSize(value.Value.MVszA.lppszA[i]);
    } else if (type == PT_MV_UNICODE) {
      *size += TextSize(value.Value.MVszW.lppszW[i]);
    } else if (type == PT_MV_BINARY) {
      *size += value.Value.MVbin.lpbin[i].cb;
    } else {
      break;  // a plain array
    }
  }
  return S_OK;
}

void WriteMultiValue(const SPropValue& value, BYTE* block, bool keep_pointers) noexcept {
  ULONG count = value.Value.MVbin.cValues;
  switch (PropType(value.ulPropTag)) {
    case PT_MV_STRING8:
      return WriteStrings(value.Value.MVszA.lppszA, count, block, keep_pointers);
    case PT_MV_UNICODE:
      return WriteStrings(value.Value.MVszW.lppszW, count, block, keep_pointers);
    case PT_MV_BINARY:
      return WriteRuns(value.Value.MVbin.lpbin, count, block, keep_pointers);
    default:
      if (count != 0) std::memcpy(block, value.Value.MVbin.lpbin, count * ElementSize(PropType(value.ulPropTag)));
  }
}

bool AdoptMultiValue(SPropValue& value, BYTE* block, std::size_t size) noexcept {
  ULONG type = PropType(value.ulPropTag);
  ULONG count = value.Value.MVbin.cValues;
  std::size_t element = ElementSize(type);
  if (element == 0 || size / element < count) return false;
  bool adopted = type == PT_MV_STRING8   ? AdoptStrings<char>(count, block, size)
                 : type == PT_MV_UNICODE ? AdoptStrings<WCHAR>(count, block, size)
                 : type == PT_MV_BINARY  ? AdoptRuns(count, block, size)
                                         : true;
  if (adopted) value.Value.MVbin.lpbin = reinterpret_cast<SBinary*>(block);
  return adopted;
}

}  // namespace uab
