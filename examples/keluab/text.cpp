#include "text.h"

#include <algorithm>
#include <cstdint>

namespace host {
namespace {

void AppendUtf8(std::string& out, std::uint32_t code) {
  auto put = [&out](std::uint32_t byte) { out += static_cast<char>(byte); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6)), put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12)), put(0x80 | ((code >> 6) & 0x3F)), put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18)), put(0x80 | ((code >> 12) & 0x3F)), put(0x80 | ((code >> 6) & 0x3F)),
        put(0x80 | (code & 0x3F));
  }
}

// Takes the next code point off the front; U+FFFD and one byte for what is not UTF-8.
std::uint32_t NextCodePoint(std::string_view& text) {
  auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0u; };
  std::uint32_t first = byte(0);
  std::size_t length = first < 0x80 ? 1 : first >= 0xF0 && first < 0xF5 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
  std::uint32_t code = length == 1 ? first : length == 2 ? first & 0x1F : length == 3 ? first & 0x0F : first & 0x07;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) length = 0;
    code = (code << 6) | (byte(i) & 0x3F);
  }
  bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  bool overlong = (length == 3 && code < 0x800) || (length == 4 && (code < 0x10000 || code > 0x10FFFF));
  bool good = length != 0 && !surrogate && !overlong;
  text.remove_prefix(good ? length : 1);
  return good ? code : 0xFFFD;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
bool SameLetter(char a, char b) { return Lower(a) == Lower(b); }

}  // namespace

std::string ToUtf8(const uab::WCHAR* text) {
  std::string out;
  for (; text != nullptr && *text != 0; ++text) {
    std::uint32_t code = *text;
    if (code >= 0xD800 && code < 0xDC00 && text[1] >= 0xDC00 && text[1] < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<std::uint32_t>(*++text) - 0xDC00);
    } else if (code >= 0xD800 && code < 0xE000) {
      code = 0xFFFD;
    }
    AppendUtf8(out, code);
  }
  return out;
}

WideText ToWide(std::string_view text) {
  WideText out;
  while (!text.empty()) {
    std::uint32_t code = NextCodePoint(text);
    if (code >= 0x10000) {
      out += static_cast<uab::WCHAR>(0xD800 + ((code - 0x10000) >> 10));
      code = 0xDC00 + ((code - 0x10000) & 0x3FF);
    }
    out += static_cast<uab::WCHAR>(code);
  }
  return out;
}

std::size_t DisplayWidth(std::string_view utf8) {
  std::size_t width = 0;
  while (!utf8.empty()) {
    std::uint32_t code = NextCodePoint(utf8);
    bool combining = code >= 0x300 && code < 0x370;
    bool wide = (code >= 0x1100 && code < 0x1160) || (code >= 0x2E80 && code < 0xA4D0) ||
                (code >= 0xAC00 && code < 0xD7A4) || (code >= 0xF900 && code < 0xFB00) ||
                (code >= 0xFE30 && code < 0xFE70) || (code >= 0xFF00 && code < 0xFF61) ||
                (code >= 0x1F300 && code < 0x1FB00) || (code >= 0x20000 && code < 0x30000);
    width += combining ? 0 : wide ? 2 : 1;
  }
  return width;
}

bool ContainsNoCase(std::string_view text, std::string_view part) {
  return std::search(text.begin(), text.end(), part.begin(), part.end(), SameLetter) != text.end() || part.empty();
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), SameLetter);
}

std::string ToHex(const void* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  for (std::size_t i = 0; i < size; ++i) {
    auto byte = static_cast<const unsigned char*>(bytes)[i];
    out += kDigits[byte >> 4];
    out += kDigits[byte & 15];
  }
  return out;
}

bool FromHex(std::string_view text, std::string& bytes) {
  auto digit = [](char c) {
    c = Lower(c);
    return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
  };
  bytes.clear();
  if (text.empty() || text.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    int high = digit(text[i]), low = digit(text[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

}  // namespace host
