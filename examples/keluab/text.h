// The library speaks UTF-16, terminals and files UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "keluab/base.h"

namespace host {

using WideText = std::basic_string<uab::WCHAR>;

// What is not valid becomes U+FFFD.
std::string ToUtf8(const uab::WCHAR* text);
WideText ToWide(std::string_view text);

// Columns that the text takes in a terminal, near enough: code points, wide ones (CJK and the like) counted twice.
std::size_t DisplayWidth(std::string_view utf8);

// ASCII letters compare without regard to case, others exactly.
bool ContainsNoCase(std::string_view text, std::string_view part);
bool EqualsNoCase(std::string_view a, std::string_view b);

std::string ToHex(const void* bytes, std::size_t size);
// False: not an even number of hexadecimal digits.
bool FromHex(std::string_view text, std::string& bytes);

}  // namespace host
