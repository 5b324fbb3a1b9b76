#include "line_writer.h"

#include <algorithm>

#include "text.h"

namespace uab::vcard {
namespace {

constexpr std::size_t kLineOctets = 75;

// Version 2.1 has no escapes, but everybody resolves them: a backslash is doubled where it would be taken for one.
std::string EscapeBackslashes(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    out += text[i];
    if (text[i] == '\\' && i + 1 < text.size() &&
        std::string_view("nN,;:\\").find(text[i + 1]) != std::string_view::npos)
      out += '\\';
  }
  return out;
}

// Version 2.1 has no character set of its own but the printable ones. column is where the value begins in its line. A
// line of its own never begins with a letter, or it might read as a card's end.
std::string QuotedPrintable(std::string_view text, CardStyle style, std::size_t column) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (char c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (column > kLineOctets - 10) {
      out.append("=").append(Ending(style));
      column = 0;
    }
    if (byte < 32 || byte > 126 || c == '=' || c == '\\' || column == 0) {
      out += {'=', kDigits[byte >> 4], kDigits[byte & 15]};
      column += 3;
    } else {
      out += c;
      ++column;
    }
  }
  return out;
}

// Folds in front of characters, never inside one.
std::string Fold(std::string_view line, CardStyle style) {
  std::string out;
  while (line.size() > kLineOctets) {
    std::size_t cut = kLineOctets;
    while (cut > 1 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
    out.append(line.substr(0, cut)).append(Ending(style)).append(" ");
    line.remove_prefix(cut);
  }
  return out.append(line).append(Ending(style));
}

}  // namespace

std::string_view Ending(CardStyle style) noexcept { return style.new_line == NewLine::kLf ? "\n" : "\r\n"; }

std::string Escape(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (c == '\n') {
      out += "\\n";
      continue;
    }
    if (c == '\\' || c == ',' || c == ';') out += '\\';
    if (c != '\r' && c != '\0') out += c;
  }
  return out;
}

std::string MakeLine(std::string_view head, std::string_view value, CardStyle style, bool escaped) {
  const std::string text = escaped               ? std::string(value)
                           : style.version == 21 ? EscapeBackslashes(value)
                                                 : Escape(value);
  const bool plain = std::all_of(text.begin(), text.end(), [](char c) { return c >= 32 && c < 127; });
  if (style.version == 21 && !plain) {
    const std::string start = std::string(head) + ";CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:";
    return start + QuotedPrintable(text, style, start.size()) + std::string(Ending(style));
  }
  return Fold(std::string(head) + ":" + text, style);
}

std::string KeptHead(const CardLine& line) {
  std::string head;
  if (!line.group.empty()) head.append(line.group).append(".");
  head.append(line.name);
  ForEachParam(line.params, [&](std::string_view key, std::string_view value) {
    for (std::string_view coding : {"ENCODING", "CHARSET", "VALUE"}) {
      if (EqualNoCase(key, coding)) return;
    }
    if (key.empty() && EqualNoCase(value, "QUOTED-PRINTABLE")) return;
    // A bare parameter has no name; one with an empty name keeps its equals sign.
    head.append(";").append(key).append(key.data() == nullptr ? "" : "=").append(value);
  });
  // A quote that nobody closed would reach into the new text.
  if (std::count(head.begin(), head.end(), '"') % 2 != 0) head += '"';
  return head;
}

}  // namespace uab::vcard
