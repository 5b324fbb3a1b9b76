#include "card_editor.h"

#include <algorithm>

#include "card_lines.h"
#include "text.h"

namespace uab::vcard {
namespace {

constexpr std::size_t kLineOctets = 75;

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

// Version 2.1 has no character set of its own but the printable ones.
// column is where the value begins in its line.
std::string QuotedPrintable(std::string_view text, CardStyle style, std::size_t column) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (char c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (column > kLineOctets - 10) {
      out.append("=").append(Ending(style));
      column = 0;
    }
    if (byte < 32 || byte > 126 || c == '=' || c == '\\') {
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

// head is name and parameters; structured values come with their separators, and are escaped by the caller.
std::string MakeLine(std::string_view head, std::string_view value, CardStyle style, bool escaped = false) {
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

// Group, name and parameters of a line that gets another text: without those that tell how the old one was coded.
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

// Where a line is added: in front of the last END:VCARD, and of a line before it that ends with a soft line break,
// which would swallow what comes behind.
std::size_t EndLine(std::string_view card) {
  std::size_t end = card.size();
  for (std::size_t pos = card.size(); pos >= 9 && end == card.size(); --pos) {
    if (EqualNoCase(card.substr(pos - 9, 9), "END:VCARD")) end = pos - 9;
  }
  while (end > 0 && card[end - 1] != '\n') --end;
  const std::string_view before = card.substr(0, end);
  if (!before.substr(0, before.find_last_not_of("\r\n") + 1).ends_with('=')) return end;
  std::size_t last = 0;
  LineReader reader(before);
  for (CardLine line; reader.Next(line);) last = static_cast<std::size_t>(line.raw.data() - card.data());
  const std::string probe = std::string(before.substr(last)) + "X:";
  CardLine swallowing;
  return LineReader(probe).Next(swallowing) && swallowing.raw.size() == probe.size() ? last : end;
}

// Replaces the first line of that name, by nothing for an empty one; without such a line, adds it at the end.
void ReplaceOrAdd(std::string& card, std::string_view name, const std::function<std::string(const CardLine*)>& make) {
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    if (!EqualNoCase(line.name, name)) continue;
    const std::size_t offset = static_cast<std::size_t>(line.raw.data() - card.data());
    const std::size_t size = line.raw.size();
    card.replace(offset, size, make(&line));
    return;
  }
  card.insert(EndLine(card), make(nullptr));
}

bool HasLine(std::string_view card, std::string_view name) {
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    if (EqualNoCase(line.name, name)) return true;
  }
  return false;
}

void SetText(std::string& card, std::string_view name, std::string_view text) {
  const CardStyle style = StyleOf(card);
  if (text.empty() && !HasLine(card, name)) return;
  ReplaceOrAdd(card, name, [&](const CardLine* line) {
    if (text.empty()) return std::string();
    return MakeLine(line == nullptr ? std::string(name) : KeptHead(*line), text, style);
  });
}

}  // namespace

std::string NewCard(bool group, std::string_view uid, CardStyle style) {
  const std::string end(Ending(style));
  const std::string version = style.version == 21 ? "2.1" : style.version == 40 ? "4.0" : "3.0";
  std::string card = "BEGIN:VCARD" + end + "VERSION:" + version + end;
  if (group) card += (style.version == 40 ? "KIND:group" : "X-ADDRESSBOOKSERVER-KIND:group") + end;
  card += MakeLine("UID", (style.version == 40 ? "urn:uuid:" : "") + std::string(uid), style);
  return card + "END:VCARD" + end;
}

void SetName(std::string& card, std::string_view name) {
  name = Trim(name);
  if (Summarize(card).name == name) {
    if (HasLine(card, "FN")) return;
  }
  SetText(card, "FN", name);
  const CardStyle style = StyleOf(card);
  if (!HasLine(card, "N") && style.version == 40) return;  // only there it is optional
  const std::size_t space = name.rfind(' ');
  const std::string_view family = space == std::string_view::npos ? name : name.substr(space + 1);
  const std::string_view given = space == std::string_view::npos ? std::string_view() : name.substr(0, space);
  ReplaceOrAdd(card, "N", [&](const CardLine* line) {
    return MakeLine(line == nullptr ? "N" : KeptHead(*line), Escape(family) + ";" + Escape(given) + ";;;", style, true);
  });
}

void SetFax(std::string& card, std::string_view number) {
  number = Trim(number);
  const FaxLine old = FindFax(card);
  if (old.number == number) return;
  const CardStyle style = StyleOf(card);
  if (old.size == 0) {
    const std::string_view head = style.version == 21   ? "TEL;FAX"
                                  : style.version == 40 ? "TEL;TYPE=fax"
                                                        : "TEL;TYPE=FAX";
    card.insert(EndLine(card), MakeLine(head, number, style));
    return;
  }
  std::string replacement;
  if (!number.empty()) {
    LineReader reader(std::string_view(card).substr(old.offset, old.size));
    CardLine line;
    reader.Next(line);
    replacement = MakeLine(KeptHead(line), number, style);
  }
  card.replace(old.offset, old.size, replacement);
}

void SetNote(std::string& card, std::string_view note) { SetText(card, "NOTE", note); }

void SetUid(std::string& card, std::string_view uid) { SetText(card, "UID", uid); }

void AddMember(std::string& card, CardStyle style, std::string_view uid) {
  const std::string uri = (uid.find(':') == std::string_view::npos ? "urn:uuid:" : "") + std::string(uid);
  const std::string_view head = style.version == 40 ? "MEMBER" : "X-ADDRESSBOOKSERVER-MEMBER";
  card.insert(EndLine(card), MakeLine(head, uri, style));
}

void RemoveMembers(std::string& card, const std::function<bool(const MemberAddress&)>& goes) {
  std::string kept;
  kept.reserve(card.size());
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    MemberAddress member;
    const bool drop = IsMemberLine(line.name) && ReadMember(Unescape(DecodeValue(line)), member) && goes(member);
    if (!drop) kept.append(line.raw);
  }
  card = std::move(kept);
}

bool AdoptText(std::string& card, std::string_view text) {
  std::size_t cards = 0, size = 0;
  ForEachCard(text, [&](std::size_t, std::size_t card_size) { ++cards, size = card_size; });
  if (cards != 1 || size != text.size() || Identify(text).group != Identify(card).group) return false;
  const CardStyle style = StyleOf(text);
  const std::string uid = Identify(card).uid;  // of several the one by which the card is known
  std::vector<std::string> members;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    if (IsMemberLine(line.name)) members.push_back(Unescape(DecodeValue(line)));
  }
  std::string adopted(text);
  RemoveMembers(adopted, [](const MemberAddress&) { return true; });
  if (!adopted.ends_with('\n')) adopted.append(Ending(style));
  SetUid(adopted, uid);
  for (const std::string& member : members) AddMember(adopted, style, member);
  card = std::move(adopted);
  return true;
}

}  // namespace uab::vcard
