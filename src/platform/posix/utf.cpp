#include "platform/posix/utf.h"

#include <cstdint>

namespace uab {
namespace {

void AppendUtf8(std::string& out, std::uint32_t code) {
  auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6));
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18));
    put(0x80 | ((code >> 12) & 0x3F));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// The code point at text[at], and the bytes it takes; 0 bytes when there is none.
struct Decoded {
  std::uint32_t code;
  std::size_t bytes;
};

Decoded DecodeUtf8(std::string_view text, std::size_t at) {
  auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[at + i]); };
  std::uint8_t first = byte(0);
  if (first < 0x80) return {first, 1};
  std::size_t length = first >= 0xF0 && first < 0xF5   ? 4
                       : first >= 0xE0 && first < 0xF0 ? 3
                       : first >= 0xC2 && first < 0xE0 ? 2
                                                       : 0;
  if (length == 0 || text.size() - at < length) return {0, 0};
  std::uint32_t code = length == 4 ? first & 0x07u : length == 3 ? first & 0x0Fu : first & 0x1Fu;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {0, 0};
    code = (code << 6) | (byte(i) & 0x3Fu);
  }
  static constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (code < kSmallest[length] || code > 0x10FFFF) return {0, 0};
  return {code, length};
}

bool IsSurrogate(std::uint32_t code) { return code >= 0xD800 && code <= 0xDFFF; }

enum class Kind { kText, kPath };

std::string Encode(std::u16string_view text, Kind kind) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t code = text[i];
    if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
    }
    if (kind == Kind::kPath && code >= 0xDC80 && code <= 0xDCFF) {
      out.push_back(static_cast<char>(code));
    } else {
      AppendUtf8(out, code);
    }
  }
  return out;
}

std::u16string Decode(std::string_view text, Kind kind) {
  std::u16string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    Decoded next = DecodeUtf8(text, at);
    if (next.bytes == 0 || (kind == Kind::kPath && IsSurrogate(next.code))) {
      const auto byte = static_cast<unsigned char>(text[at++]);
      out.push_back(kind == Kind::kPath ? static_cast<char16_t>(0xDC00 + byte) : u'\uFFFD');
      continue;
    }
    at += next.bytes;
    if (next.code < 0x10000) {
      out.push_back(static_cast<char16_t>(next.code));
    } else {
      out.push_back(static_cast<char16_t>(0xD800 + ((next.code - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((next.code - 0x10000) & 0x3FF)));
    }
  }
  return out;
}

}  // namespace

std::string ToUtf8(std::u16string_view text) { return Encode(text, Kind::kText); }
std::u16string ToUtf16(std::string_view text) { return Decode(text, Kind::kText); }
std::u16string PathToUtf16(std::string_view path) { return Decode(path, Kind::kPath); }
std::string PathFromUtf16(std::u16string_view path) { return Encode(path, Kind::kPath); }

}  // namespace uab
