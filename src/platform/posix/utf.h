// UTF-16 to UTF-8 and back. Lone surrogates are kept (as their own three bytes), so that any UTF-16 text round-trips.
#pragma once

#include <string>
#include <string_view>

namespace uab {

std::string ToUtf8(std::u16string_view text);

// Bytes that are not UTF-8 become U+FFFD, one for each byte.
std::u16string ToUtf16(std::string_view text);

// The same for paths, which may hold any bytes: one that is not UTF-8 becomes a lone U+DC80 to U+DCFF, and that the byte
// again, so that every path round-trips.
std::u16string PathToUtf16(std::string_view path);
std::string PathFromUtf16(std::u16string_view path);

}  // namespace uab
