// Short ways to write property values in tests. The data that is pointed at must outlive the value.
#pragma once

#include <string>

#include "keluab/tags.h"
#include "keluab/values.h"

namespace uab {

inline SPropValue LongValue(ULONG tag, LONG number) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.l = number;
  return value;
}

inline SPropValue TextValue(ULONG tag, const WCHAR* text) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.lpszW = const_cast<WCHAR*>(text);
  return value;
}

inline SPropValue BinaryValue(ULONG tag, const void* bytes, ULONG size) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.bin = {size, static_cast<BYTE*>(const_cast<void*>(bytes))};
  return value;
}

inline std::basic_string<WCHAR> TextOf(const SPropValue& value) {
  return PropType(value.ulPropTag) == PT_UNICODE && value.Value.lpszW != nullptr ? value.Value.lpszW
                                                                                 : UAB_TEXT("<no text>");
}

}  // namespace uab
