// Text of address files: UTF-8 inside, UTF-16 towards callers, and hashes of both. Stateless; any thread may call.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "keluab/base.h"

namespace uab::vcard {

using WideString = std::basic_string<WCHAR>;

bool IsUtf8(std::string_view bytes) noexcept;

// UTF-8 to UTF-16. A byte that is no UTF-8 becomes the lone surrogate 0xDC00 + byte, so that ToUtf8 with
// keep_bytes gives exactly the same bytes back. NUL characters are dropped: callers' strings end at one.
WideString ToWide(std::string_view utf8);

// UTF-16 to UTF-8. A lone surrogate is U+FFFD, or with keep_bytes the byte that ToWide made it from.
std::string ToUtf8(std::basic_string_view<WCHAR> wide, bool keep_bytes = false);

// Bytes in a named character set to UTF-8. An unknown or wrong name is no obstacle: what is valid UTF-8 is taken as
// such, everything else as Windows-1252.
std::string CharsetToUtf8(std::string_view bytes, std::string_view charset);

// ASCII only: names and parameters of cards compare without regard to case.
bool EqualNoCase(std::string_view a, std::string_view b) noexcept;
bool ContainsNoCase(std::string_view text, std::string_view word) noexcept;
bool StartsWithNoCase(std::string_view text, std::string_view start) noexcept;
std::string LowerAscii(std::string_view text);
std::string_view Trim(std::string_view text) noexcept;

std::uint64_t Hash64(std::string_view bytes) noexcept;

// What identifies a card within a file: a hash of its UID. These values are part of stored entry identifiers.
struct CardKey {
  std::uint64_t first = 0;
  std::uint64_t second = 0;
  friend bool operator==(const CardKey&, const CardKey&) = default;
};
struct CardKeyHash {
  std::size_t operator()(const CardKey& key) const noexcept { return static_cast<std::size_t>(key.first); }
};
CardKey HashKey(std::string_view bytes) noexcept;

// "xxxxxxxx-xxxx-8xxx-8xxx-xxxxxxxxxxxx": a UUID of the kind that its maker computes as it likes.
std::string FormatUuid(const CardKey& key);
std::string NewUuid();  // from the system's random numbers

}  // namespace uab::vcard
