#include "card_editor.h"

#include <algorithm>

#include "card_lines.h"
#include "line_writer.h"
#include "text.h"

namespace uab::vcard {
namespace {

// Whether a line would take in a next one that is no card's end or begin.
bool Swallows(std::string_view raw) {
  if (!raw.substr(0, raw.find_last_not_of("\r\n") + 1).ends_with('=')) return false;
  const std::string probe = std::string(raw) + "X:";
  CardLine line;
  return LineReader(probe).Next(line) && line.raw.size() == probe.size();
}

using Lines = std::vector<std::string_view>;

Lines LinesOf(std::string_view card) {
  Lines lines;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) lines.push_back(line.raw);
  return lines;
}

// Where a line is added: in front of the card's end, and of a line before it that would take it in.
std::size_t AddingPlace(const Lines& lines) {
  const std::size_t end = lines.empty() ? 0 : lines.size() - 1;
  return end > 0 && Swallows(lines[end - 1]) ? end - 1 : end;
}

// The same as an offset. Time grows with the tail behind the last line only, unless there is such a line.
std::size_t AddingOffset(std::string_view card) {
  std::size_t end = card.size();
  for (std::size_t pos = card.size(); pos >= 9 && end == card.size(); --pos) {
    if (EqualNoCase(card.substr(pos - 9, 9), "END:VCARD")) end = pos - 9;
  }
  while (end > 0 && card[end - 1] != '\n') --end;
  const std::string_view before = card.substr(0, end);
  if (!before.substr(0, before.find_last_not_of("\r\n") + 1).ends_with('=')) return end;
  const Lines lines = LinesOf(card);
  return static_cast<std::size_t>(lines[AddingPlace(lines)].data() - card.data());
}

bool IsOneCard(std::string_view text) {
  std::size_t cards = 0, size = 0;
  ForEachCard(text, [&](std::size_t, std::size_t card_size) { ++cards, size = card_size; });
  return cards == 1 && size == text.size();
}

// Makes a card of lines. False: some would read otherwise than they did alone, or the card would come apart. In a
// damaged card a line may hold off another or a card within the card, so every edit is made through here.
bool Assemble(const Lines& lines, std::string& card) {
  std::string text;
  for (std::string_view line : lines) text.append(line);
  LineReader reader(text);
  CardLine read;
  for (std::string_view line : lines) {
    if (!reader.Next(read) || read.raw != line) return false;
  }
  if (!IsOneCard(text)) return false;
  card = std::move(text);
  return true;
}

constexpr std::size_t kNowhere = std::string_view::npos;

std::size_t PlaceOf(std::string_view card, std::string_view name) {
  LineReader reader(card);
  CardLine line;
  for (std::size_t place = 0; reader.Next(line); ++place) {
    if (EqualNoCase(line.name, name)) return place;
  }
  return kNowhere;
}

std::string FirstText(std::string_view card, std::string_view name) {
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    if (EqualNoCase(line.name, name)) return Unescape(DecodeValue(line));
  }
  return {};
}

using Says = std::function<bool(std::string_view card)>;

// Writes a text in the line at a place, or in a new one with that head; an empty text removes the line. Of the ways to
// do so it takes the first with which the card says what it has to. False: there is none, and nothing changes.
bool Write(std::string& card, std::size_t place, std::string_view head, std::string_view text, const Says& says,
           bool escaped = false) {
  const CardStyle style = StyleOf(card);
  const Lines lines = LinesOf(card);
  std::string made;
  const auto attempt = [&](Lines changed) {
    std::string result;
    if (!Assemble(changed, result) || !says(result)) return false;
    card = std::move(result);
    return true;
  };
  if (place != kNowhere) {
    Lines changed = lines;
    if (text.empty()) return changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(place)), attempt(changed);
    LineReader reader(lines[place]);
    CardLine old;
    reader.Next(old);
    for (const std::string& its_head : {KeptHead(old), std::string(head)}) {
      changed[place] = made = MakeLine(its_head, text, style, escaped);
      if (attempt(changed)) return true;
    }
  }
  if (text.empty()) return true;
  Lines changed = lines;
  made = MakeLine(head, text, style, escaped);
  changed.insert(changed.begin() + static_cast<std::ptrdiff_t>(AddingPlace(lines)), made);
  return attempt(changed);
}

// Text without what no line can hold.
std::string Clean(std::string_view text) {
  std::string clean(Trim(text));
  std::erase_if(clean, [](char c) { return c == '\r' || c == '\0'; });
  return clean;
}

std::string_view FaxHead(CardStyle style) {
  return style.version == 21 ? "TEL;FAX" : style.version == 40 ? "TEL;TYPE=fax" : "TEL;TYPE=FAX";
}

std::string_view MemberHead(CardStyle style) { return style.version == 40 ? "MEMBER" : "X-ADDRESSBOOKSERVER-MEMBER"; }

// A line of one card as another would write it; as it stands if that would not say the same.
std::string Carried(const CardLine& line, std::string_view head, CardStyle style) {
  const std::string value = Unescape(DecodeValue(line));
  std::string made = MakeLine(head, value, style);
  LineReader reader(made);
  CardLine read;
  return reader.Next(read) && Unescape(DecodeValue(read)) == value ? made : std::string(line.raw);
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

bool SetName(std::string& card, std::string_view text) {
  const std::string name = Clean(text);
  const auto shows = [&](std::string_view changed) { return name.empty() || Summarize(changed).name == name; };
  const std::size_t shown = PlaceOf(card, "FN");
  if (shown != kNowhere && Summarize(card).name == name) return true;
  std::string changed = card;
  if (!Write(changed, shown, "FN", name, shows)) return false;
  const std::size_t parts = PlaceOf(changed, "N");
  if (parts != kNowhere || StyleOf(card).version != 40) {  // only there they are optional
    const std::size_t space = name.rfind(' ');
    const std::string family = space == std::string::npos ? name : name.substr(space + 1);
    const std::string given = space == std::string::npos ? "" : name.substr(0, space);
    const std::string value = Escape(family) + ";" + Escape(given) + ";;;";
    const auto shows_both = [&](std::string_view text_now) {
      return shows(text_now) && FirstText(text_now, "N") == Unescape(value);
    };
    if (!Write(changed, parts, "N", value, shows_both, true)) return false;
  }
  card = std::move(changed);
  return true;
}

bool SetFax(std::string& card, std::string_view text) {
  const std::string number = Clean(text);
  const FaxLine old = FindFax(card);
  if (old.number == number) return true;
  std::size_t place = old.size == 0 ? kNowhere : 0;
  for (std::string_view line : LinesOf(card)) {
    if (place == kNowhere || line.data() == card.data() + old.offset) break;
    ++place;
  }
  const std::string shown = NumberIn(number);
  return Write(card, place, FaxHead(StyleOf(card)), number,
               [&](std::string_view changed) { return number.empty() || FindFax(changed).number == shown; });
}

bool SetNote(std::string& card, std::string_view text) {
  const std::string note = Clean(text);
  return Write(card, PlaceOf(card, "NOTE"), "NOTE", note,
               [&](std::string_view changed) { return note.empty() || Summarize(changed).note == note; });
}

bool SetUid(std::string& card, std::string_view text) {
  const std::string uid = Clean(text);
  return Write(card, PlaceOf(card, "UID"), "UID", uid,
               [&](std::string_view changed) { return uid.empty() || Identify(changed).uid == uid; });
}

bool AddMember(std::string& card, CardStyle style, std::string_view uid) {
  const std::string uri = (uid.find(':') == std::string_view::npos ? "urn:uuid:" : "") + std::string(uid);
  const std::string line = MakeLine(MemberHead(style), uri, style);
  const std::vector<MemberAddress> read = MembersOf(line);
  if (read.size() != 1 || (read[0].mail ? "mailto:" : "") + read[0].text != NormalUid(uid)) return false;
  card.insert(AddingOffset(card), line);  // ends with itself whatever follows, so that no other line changes
  return true;
}

bool RemoveMembers(std::string& card, const std::function<bool(const MemberAddress&)>& goes) {
  Lines kept;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    MemberAddress member;
    const bool drop = IsMemberLine(line.name) && ReadMember(Unescape(DecodeValue(line)), member) && goes(member);
    if (!drop) kept.push_back(line.raw);
  }
  return Assemble(kept, card);
}

bool AdoptText(std::string& card, std::string_view text) {
  if (!IsOneCard(text) || Identify(text).group != Identify(card).group) return false;
  const CardStyle style = StyleOf(text);
  std::string uid;
  std::vector<std::string> members;
  MemberAddress member;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    const bool names = EqualNoCase(line.name, "UID") && uid.empty() && !Trim(Unescape(DecodeValue(line))).empty();
    if (names) uid = Carried(line, "UID", style);  // of several the one by which the card is known
    if (IsMemberLine(line.name) && ReadMember(Unescape(DecodeValue(line)), member)) {
      members.push_back(Carried(line, MemberHead(style), style));
    }
  }
  std::string adopted(text);
  if (!adopted.ends_with('\n')) adopted.append(Ending(style));
  Lines lines;
  LineReader adopting(adopted);
  bool named = uid.empty();
  for (CardLine line; adopting.Next(line);) {
    if (IsMemberLine(line.name) && ReadMember(Unescape(DecodeValue(line)), member)) continue;
    const bool is_uid = EqualNoCase(line.name, "UID");
    if (!is_uid || !named) lines.push_back(is_uid ? uid : line.raw);
    named = named || is_uid;
  }
  Lines own(members.begin(), members.end());
  if (!named) own.insert(own.begin(), uid);
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(AddingPlace(lines)), own.begin(), own.end());
  return Assemble(lines, card);
}

}  // namespace uab::vcard
