#include "card_lines.h"

#include <algorithm>

#include "text.h"

namespace uab::vcard {
namespace {

std::string_view WithoutLineEnd(std::string_view line) noexcept {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// Where the value's colon is: the first outside quotes; a stray quote does not swallow the line.
std::size_t FindColon(std::string_view line) noexcept {
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '"') quoted = !quoted;
    if (line[i] == ':' && !quoted) return i;
  }
  return line.find(':');
}

void Split(std::string_view text, CardLine& line) noexcept {
  line.group = line.name = line.params = line.value = {};
  const std::size_t colon = FindColon(text);
  if (colon == std::string_view::npos) return;
  std::string_view head = text.substr(0, colon);
  line.value = text.substr(colon + 1);
  const std::size_t semicolon = head.find(';');
  if (semicolon != std::string_view::npos) {
    line.params = head.substr(semicolon);
    head = head.substr(0, semicolon);
  }
  const std::size_t dot = head.rfind('.');
  if (dot != std::string_view::npos) {
    line.group = Trim(head.substr(0, dot));
    head = head.substr(dot + 1);
  }
  line.name = Trim(head);
}

int HexDigit(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string DecodeQuotedPrintable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '=' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0) {
      out.push_back(static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2])));
      i += 2;
    } else if (text[i] != '=' || i + 1 < text.size()) {  // a last soft break has nothing to join
      out.push_back(text[i]);
    }
  }
  return out;
}

// Whether a text goes on with what no line break of a value reaches over: a card's end or begin, or an AGENT line with
// the card that belongs to it.
bool StartsWithFrame(std::string_view text) noexcept {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = Trim(text.substr(0, end));
  if (EqualNoCase(line, "END:VCARD") || EqualNoCase(line, "BEGIN:VCARD")) return true;
  return StartsWithNoCase(line, "AGENT") && StartsWithNoCase(Trim(text.substr(end)), "BEGIN:VCARD");
}

}  // namespace

std::string_view LineReader::TakePhysicalLine() noexcept {
  const std::size_t end = text_.find('\n', pos_);
  const std::size_t next = end == std::string_view::npos ? text_.size() : end + 1;
  const std::string_view line = text_.substr(pos_, next - pos_);
  pos_ = next;
  return line;
}

bool LineReader::Next(CardLine& line) {
  if (pos_ >= text_.size()) return false;
  const std::size_t start = pos_;
  std::string_view content = WithoutLineEnd(TakePhysicalLine());
  const bool quoted_printable =
      content.ends_with('=') && ContainsNoCase(content.substr(0, FindColon(content)), "QUOTED-PRINTABLE");
  bool folded = false;
  while (pos_ < text_.size()) {
    const std::string_view rest = text_.substr(pos_);
    const bool soft_break = quoted_printable && (folded ? unfolded_.ends_with('=') : true) && !StartsWithFrame(rest);
    if (!soft_break && rest.front() != ' ' && rest.front() != '\t') break;
    if (!folded) unfolded_.assign(content);
    folded = true;
    if (soft_break) unfolded_.pop_back();
    const std::string_view more = WithoutLineEnd(TakePhysicalLine());
    unfolded_.append(soft_break || more.empty() ? more : more.substr(1));
  }
  line.raw = text_.substr(start, pos_ - start);
  Split(folded ? std::string_view(unfolded_) : content, line);
  return true;
}

std::string_view FindParam(std::string_view params, std::string_view name) noexcept {
  std::string_view found;
  ForEachParam(params, [&](std::string_view key, std::string_view value) {
    if (!found.empty() || !EqualNoCase(key, name)) return;
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    found = value;
  });
  return found;
}

bool HasType(std::string_view params, std::string_view type) noexcept {
  bool found = false;
  ForEachParam(params, [&](std::string_view key, std::string_view value) {
    if (!key.empty() && !EqualNoCase(key, "TYPE")) return;
    for (std::size_t pos = 0; pos <= value.size();) {
      const std::size_t end = std::min(value.find_first_of(",\"", pos), value.size());
      if (EqualNoCase(Trim(value.substr(pos, end - pos)), type)) found = true;
      pos = end + 1;
    }
  });
  return found;
}

bool IsQuotedPrintable(std::string_view params) noexcept {
  return EqualNoCase(FindParam(params, "ENCODING"), "QUOTED-PRINTABLE") ||
         EqualNoCase(FindParam(params, "ENCODING"), "Q") || HasType(params, "QUOTED-PRINTABLE");
}

std::string DecodeValue(const CardLine& line) {
  const std::string_view charset = FindParam(line.params, "CHARSET");
  if (!IsQuotedPrintable(line.params)) return CharsetToUtf8(line.value, charset);
  return CharsetToUtf8(DecodeQuotedPrintable(line.value), charset);
}

std::string Unescape(std::string_view value) {
  std::string out;
  out.reserve(value.size());
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char next = value[i] == '\\' && i + 1 < value.size() ? value[i + 1] : '\0';
    if (next == 'n' || next == 'N') {
      out.push_back('\n');
    } else if (next == ',' || next == ';' || next == '\\' || next == ':') {
      out.push_back(next);
    } else {
      out.push_back(value[i]);
      continue;
    }
    ++i;
  }
  return out;
}

std::string Component(std::string_view value, std::size_t index) {
  std::size_t start = 0;
  for (std::size_t i = 0; i <= value.size(); ++i) {
    if (i + 1 < value.size() && value[i] == '\\') {
      ++i;
    } else if (i >= value.size() || value[i] == ';') {
      if (index-- == 0) return Unescape(value.substr(start, i - start));
      start = i + 1;
    }
  }
  return {};
}

}  // namespace uab::vcard
