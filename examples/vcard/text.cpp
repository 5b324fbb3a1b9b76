#include "text.h"

#include <algorithm>
#include <random>

namespace uab::vcard {
namespace {

constexpr char32_t kBadByte = 0xFFFFFFFF;
constexpr WCHAR kByteEscape = 0xDC00;

// Reads one character at pos and moves behind it; kBadByte (one byte consumed) for anything that is not UTF-8.
char32_t NextCharacter(std::string_view text, std::size_t& pos) noexcept {
  const auto byte_at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte_at(pos++);
  if (lead < 0x80) return lead;
  const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4 || pos + static_cast<std::size_t>(more) > text.size()) return kBadByte;
  char32_t code = lead & (0x3Fu >> more);
  for (int i = 0; i < more; ++i) {
    const unsigned char next = byte_at(pos + static_cast<std::size_t>(i));
    if ((next & 0xC0) != 0x80) return kBadByte;
    code = (code << 6) | (next & 0x3Fu);
  }
  constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  if (code < kSmallest[more] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return kBadByte;
  pos += static_cast<std::size_t>(more);
  return code;
}

void AppendUtf8(std::string& out, char32_t code) {
  const auto put = [&](char32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (code < 0x80) return put(code);
  if (code < 0x800) {
    put(0xC0 | (code >> 6));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12));
    put(0x80 | ((code >> 6) & 0x3F));
  } else {
    put(0xF0 | (code >> 18));
    put(0x80 | ((code >> 12) & 0x3F));
    put(0x80 | ((code >> 6) & 0x3F));
  }
  put(0x80 | (code & 0x3F));
}

// 0x80 to 0x9F of Windows-1252; the five that it leaves open are control characters, as in ISO 8859-1.
constexpr char32_t kWindows1252[32] = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                       0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                       0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                       0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

char LowerChar(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

std::uint64_t Mix(std::uint64_t hash) noexcept {
  hash ^= hash >> 33;
  hash *= 0xFF51AFD7ED558CCDu;
  hash ^= hash >> 33;
  return hash;
}

}  // namespace

bool IsUtf8(std::string_view bytes) noexcept {
  for (std::size_t pos = 0; pos < bytes.size();) {
    if (NextCharacter(bytes, pos) == kBadByte) return false;
  }
  return true;
}

WideString ToWide(std::string_view utf8) {
  WideString wide;
  wide.reserve(utf8.size());
  for (std::size_t pos = 0; pos < utf8.size();) {
    const std::size_t start = pos;
    char32_t code = NextCharacter(utf8, pos);
    if (code == 0) continue;
    if (code == kBadByte) {
      wide.push_back(static_cast<WCHAR>(kByteEscape + static_cast<unsigned char>(utf8[start])));
    } else if (code < 0x10000) {
      wide.push_back(static_cast<WCHAR>(code));
    } else {
      wide.push_back(static_cast<WCHAR>(0xD7C0 + (code >> 10)));
      wide.push_back(static_cast<WCHAR>(0xDC00 + (code & 0x3FF)));
    }
  }
  return wide;
}

std::string ToUtf8(std::basic_string_view<WCHAR> wide, bool keep_bytes) {
  std::string out;
  out.reserve(wide.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    char32_t code = static_cast<char32_t>(wide[i]);
    const bool high = code >= 0xD800 && code <= 0xDBFF;
    if (high && i + 1 < wide.size() && wide[i + 1] >= 0xDC00 && wide[i + 1] <= 0xDFFF) {
      code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<char32_t>(wide[++i]) - 0xDC00);
    } else if (keep_bytes && code >= 0xDC80 && code <= 0xDCFF) {
      out.push_back(static_cast<char>(code - kByteEscape));
      continue;
    } else if (code >= 0xD800 && code <= 0xDFFF) {
      code = 0xFFFD;
    }
    AppendUtf8(out, code);
  }
  return out;
}

std::string CharsetToUtf8(std::string_view bytes, std::string_view charset) {
  const bool latin = StartsWithNoCase(charset, "ISO-8859-1") || EqualNoCase(charset, "WINDOWS-1252");
  if (!latin && IsUtf8(bytes)) return std::string(bytes);
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 4);
  for (char c : bytes) {
    const unsigned char byte = static_cast<unsigned char>(c);
    AppendUtf8(out, byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80] : byte);
  }
  return out;
}

bool EqualNoCase(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return LowerChar(x) == LowerChar(y); });
}

bool ContainsNoCase(std::string_view text, std::string_view word) noexcept {
  return std::search(text.begin(), text.end(), word.begin(), word.end(),
                     [](char x, char y) { return LowerChar(x) == LowerChar(y); }) != text.end();
}

bool StartsWithNoCase(std::string_view text, std::string_view start) noexcept {
  return EqualNoCase(text.substr(0, start.size()), start);
}

std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), LowerChar);
  return lower;
}

std::string_view Trim(std::string_view text) noexcept {
  constexpr std::string_view kSpace = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::uint64_t Hash64(std::string_view bytes) noexcept {
  std::uint64_t hash = 0xCBF29CE484222325u;
  for (char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
  return Mix(hash);
}

CardKey HashKey(std::string_view bytes) noexcept {
  std::uint64_t second = 0x9E3779B97F4A7C15u;
  for (char c : bytes) second = (second + static_cast<unsigned char>(c)) * 0xD6E8FEB86659FD93u;
  return {Hash64(bytes), Mix(second)};
}

std::string FormatUuid(const CardKey& key) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (int i = 0; i < 32; ++i) {
    const std::uint64_t half = i < 16 ? key.first : key.second;
    unsigned digit = static_cast<unsigned>(half >> (60 - 4 * (i % 16))) & 0xF;
    if (i == 12) digit = 8;                 // version: custom
    if (i == 16) digit = 8 | (digit & 3u);  // variant
    if (i == 8 || i == 12 || i == 16 || i == 20) text.push_back('-');
    text.push_back(kDigits[digit]);
  }
  return text;
}

std::string NewUuid() {
  std::random_device random;
  const auto half = [&] { return (std::uint64_t{random()} << 32) | random(); };
  const std::uint64_t first = half();
  return FormatUuid({first, half()});
}

}  // namespace uab::vcard
