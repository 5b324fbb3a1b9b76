// String functions. Case is compared code unit by code unit, by the letters' pairs in Unicode.
#include <cstring>
#include <limits>
#include <string>

#include "platform/posix/fold_case.h"
#include "platform/posix/utf.h"
#include "platform/win32.h"

namespace uab {
namespace {

template <typename Map>
int Compare(const WCHAR* a, const WCHAR* b, Map map) {
  for (;; ++a, ++b) {
    char16_t x = map(*a);
    char16_t y = map(*b);
    if (x != y) return x < y ? -1 : 1;
    if (x == 0) return 0;
  }
}

}  // namespace

int lstrlenW(const WCHAR* text) {
  return text == nullptr ? 0 : static_cast<int>(std::char_traits<WCHAR>::length(text));
}

int lstrlenA(const char* text) { return text == nullptr ? 0 : static_cast<int>(std::strlen(text)); }

int lstrcmpW(const WCHAR* a, const WCHAR* b) {
  return Compare(a, b, [](char16_t unit) { return unit; });
}

int lstrcmpiW(const WCHAR* a, const WCHAR* b) { return Compare(a, b, FoldCase); }

int WideCharToMultiByte(UINT, DWORD, const WCHAR* text, int text_chars, char* out, int size, const char*, BOOL*) {
  try {
    std::size_t chars =
        text_chars < 0 ? static_cast<std::size_t>(lstrlenW(text)) + 1 : static_cast<std::size_t>(text_chars);
    std::string bytes = ToUtf8({text, chars});
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return 0;
    int needed = static_cast<int>(bytes.size());
    if (size == 0) return needed;
    if (size < needed) {
      SetLastError(ERROR_INSUFFICIENT_BUFFER);
      return 0;
    }
    std::memcpy(out, bytes.data(), bytes.size());
    return needed;
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
  }
}

int MulDiv(int number, int numerator, int denominator) {
  if (denominator == 0) return -1;
  std::int64_t product = static_cast<std::int64_t>(number) * numerator;
  std::int64_t half = denominator / 2;
  std::int64_t result = ((product < 0) == (denominator < 0) ? product + half : product - half) / denominator;
  if (result > std::numeric_limits<int>::max() || result < std::numeric_limits<int>::min()) return -1;
  return static_cast<int>(result);
}

}  // namespace uab
