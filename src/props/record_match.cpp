#include "props/record_match.h"

#include <cstring>

#include "keluab/tags.h"
#include "platform/text_length.h"

namespace uab {
namespace {

bool SameBytes(const PropRecord& record, const void* data, std::size_t size) noexcept {
  return record.dataLength == size && (size == 0 || (data != nullptr && std::memcmp(record.data(), data, size) == 0));
}

HRESULT FoundIf(bool equal) noexcept { return equal ? S_OK : MAPI_E_NOT_FOUND; }

// A null string compares as an empty one, as it is stored.
HRESULT MatchText(const PropRecord& record, const char* text) noexcept {
  return FoundIf(SameBytes(record, text == nullptr ? "" : text, TextSize(text)));
}
HRESULT MatchText(const PropRecord& record, const WCHAR* text) noexcept {
  return FoundIf(SameBytes(record, text == nullptr ? UAB_TEXT("") : text, TextSize(text)));
}

}  // namespace

HRESULT MatchRecord(const PropRecord* record, const SPropValue& value) noexcept {
  if (record == nullptr || record->tag() != value.ulPropTag) return MAPI_E_NOT_FOUND;
  const SPropValueUnion& stored = record->value.Value;
  const SPropValueUnion& given = value.Value;
  switch (PropType(value.ulPropTag)) {
    case PT_I2:
    case PT_BOOLEAN:
      return FoundIf(stored.i == given.i);
    case PT_LONG:
    case PT_ERROR:
      return FoundIf(stored.l == given.l);
    case PT_R4:
      return FoundIf(stored.flt == given.flt);
    case PT_DOUBLE:
      return FoundIf(stored.dbl == given.dbl);
    case PT_I8:
      return FoundIf(stored.li == given.li);
    case PT_STRING8:
      return MatchText(*record, given.lpszA);
    case PT_UNICODE:
      return MatchText(*record, given.lpszW);
    case PT_CLSID:
      return FoundIf(SameBytes(*record, given.lpguid, sizeof(GUID)));
    case PT_BINARY:
      return FoundIf(SameBytes(*record, given.bin.lpb, given.bin.cb));
    default:
      return MAPI_E_NO_SUPPORT;
  }
}

}  // namespace uab
