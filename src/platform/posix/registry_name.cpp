#include "platform/posix/registry_name.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "platform/posix/fold_case.h"

namespace uab {
namespace {

constexpr std::size_t kMaxPlain = 200;  // bytes; a longer encoding is replaced by its hash
constexpr std::string_view kValueSuffix = ".value";
constexpr char kHexDigits[] = "0123456789abcdef";

bool IsPlain(char16_t unit) {
  return (unit >= u'A' && unit <= u'Z') || (unit >= u'0' && unit <= u'9') || unit == u' ' || unit == u'_' ||
         unit == u'-' || unit == u'(' || unit == u')';
}

void AppendHex(std::string& out, std::uint64_t number, int digits) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) out.push_back(kHexDigits[(number >> shift) & 0xF]);
}

// FNV-1a, once from each of two starting points: 128 bits together.
std::string HashOf(std::u16string_view folded) {
  std::uint64_t a = 0xCBF29CE484222325u;
  std::uint64_t b = 0x6C62272E07BB0142u;
  for (char16_t unit : folded) {
    a = (a ^ unit) * 0x100000001B3u;
    b = (b ^ unit ^ (b >> 29)) * 0x100000001B3u;
  }
  std::string out = "#";
  AppendHex(out, a, 16);
  AppendHex(out, b, 16);
  return out;
}

// Letters are written in lower case: one form of each is enough, and this one is easier to read. Everything but
// letters, digits and a few marks is "%" and the unit's four digits.
std::string Encode(std::u16string_view name, char16_t (*fold)(char16_t) noexcept = &FoldCase) {
  if (name.empty()) return "@";
  std::u16string folded(name);
  std::transform(folded.begin(), folded.end(), folded.begin(), fold);
  std::string out;
  for (char16_t unit : folded) {
    if (IsPlain(unit)) {
      out.push_back(static_cast<char>(unit >= u'A' && unit <= u'Z' ? unit + 0x20 : unit));
    } else {
      out.push_back('%');
      AppendHex(out, unit, 4);
    }
    if (out.size() > kMaxPlain) return HashOf(folded);
  }
  return out;
}

bool SameUnit(char16_t a, char16_t b) noexcept { return a == b || FoldCase(a) == FoldCase(b); }

}  // namespace

bool SameName(std::u16string_view a, std::u16string_view b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), SameUnit);
}

bool NameLess(std::u16string_view a, std::u16string_view b) noexcept {
  auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(), SameUnit);  // most names begin alike
  return y != b.end() && (x == a.end() || FoldCase(*x) < FoldCase(*y));
}

std::string KeyFolderName(std::u16string_view name) { return Encode(name); }

std::string ValueFileName(std::u16string_view name) { return Encode(name).append(kValueSuffix); }

std::string FormerKeyFolderName(std::u16string_view name) {
  auto moved = [](char16_t unit) { return FormerFoldCase(unit) != FoldCase(unit); };
  return std::any_of(name.begin(), name.end(), moved) ? Encode(name, &FormerFoldCase) : std::string();
}

std::string FormerValueFileName(std::u16string_view name) {
  std::string former = FormerKeyFolderName(name);
  return former.empty() ? former : former.append(kValueSuffix);
}

std::u16string NameOfKeyFolder(std::string_view file_name) {
  std::u16string name;
  for (std::size_t at = 0; at < file_name.size(); ++at) {
    unsigned unit = static_cast<unsigned char>(file_name[at]);
    if (unit == '%') {
      const char* digits = file_name.data() + at + 1;
      if (file_name.size() - at < 5 || std::from_chars(digits, digits + 4, unit, 16).ptr != digits + 4) return {};
      at += 4;
    }
    name.push_back(static_cast<char16_t>(unit));
  }
  return KeyFolderName(name) == file_name ? name : std::u16string();
}

bool IsValueFileName(std::string_view file_name) noexcept {
  return file_name.size() > kValueSuffix.size() && file_name.ends_with(kValueSuffix) && file_name[0] != '.';
}

LSTATUS SplitKeyPath(const WCHAR* path, std::vector<std::u16string_view>* parts) {
  if (path == nullptr) return ERROR_SUCCESS;
  std::u16string_view rest(path);
  if (rest.starts_with(u'\\')) return ERROR_BAD_PATHNAME;
  while (!rest.empty()) {
    std::size_t end = std::min(rest.find(u'\\'), rest.size());
    if (end > kMaxKeyName) return ERROR_INVALID_PARAMETER;
    if (end > 0) parts->push_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return ERROR_SUCCESS;
}

}  // namespace uab
