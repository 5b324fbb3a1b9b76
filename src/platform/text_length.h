// Lengths of texts in full: lstrlen's are ints, which a text of more than 2^31 characters turns into another number.
#pragma once

#include <cstddef>
#include <string>

#include "platform/win32.h"

namespace uab {

// In characters, without the terminator; 0 for null.
template <typename Char>
std::size_t TextLength(const Char* text) noexcept {
  return text == nullptr ? 0 : std::char_traits<Char>::length(text);
}

// In bytes, with the terminator. Null counts as an empty text.
template <typename Char>
std::size_t TextSize(const Char* text) noexcept {
  return (TextLength(text) + 1) * sizeof(Char);
}

}  // namespace uab
