#include "card_reader.h"

#include <algorithm>
#include <charconv>

#include "card_lines.h"
#include "text.h"

namespace uab::vcard {
namespace {

bool IsKindLine(const CardLine& line) noexcept {
  return EqualNoCase(line.name, "KIND") || EqualNoCase(line.name, "X-ADDRESSBOOKSERVER-KIND");
}

bool SaysGroup(const CardLine& line) { return IsKindLine(line) && EqualNoCase(Trim(line.value), "group"); }

std::string TextOf(const CardLine& line) { return std::string(Trim(Unescape(DecodeValue(line)))); }

// "Family;Given;Additional;Prefix;Suffix" as people read it.
std::string NameFromParts(const CardLine& line) {
  const std::string value = DecodeValue(line);
  std::string name;
  for (std::size_t part : {3u, 1u, 2u, 0u, 4u}) {
    const std::string text = Component(value, part);
    const std::string_view word = Trim(text);
    if (word.empty()) continue;
    if (!name.empty()) name += ' ';
    name += word;
  }
  return name;
}

std::string NumberOf(const CardLine& line) { return NumberIn(TextOf(line)); }

// The higher, the better: what the owner prefers, then business, then the order in the card.
int FaxScore(std::string_view params) noexcept {
  int score = HasType(params, "WORK") ? 1 : 0;
  if (HasType(params, "PREF")) score += 200;
  const std::string_view pref = FindParam(params, "PREF");
  int rank = 0;
  if (std::from_chars(pref.data(), pref.data() + pref.size(), rank).ec == std::errc() && rank >= 1 && rank <= 100) {
    score += 2 * (101 - rank);
  }
  return score;
}

// Finds the line with the fax number while a card is read: a TEL with the type FAX, or one whose group carries a label
// that says so.
class FaxFinder {
 public:
  explicit FaxFinder(std::string_view card) noexcept : card_(card) {}

  void See(const CardLine& line) {
    const bool telephone = EqualNoCase(line.name, "TEL");
    if (telephone && HasType(line.params, "FAX")) {
      Offer(line, FaxScore(line.params));
    } else if (telephone && !line.group.empty() && grouped_.size() < kMostLabels) {
      grouped_.push_back({LowerAscii(line.group), FaxAt(line)});
    } else if (!line.group.empty() && EqualNoCase(line.name, "X-ABLabel") && ContainsNoCase(line.value, "fax") &&
               labelled_.size() < kMostLabels) {
      labelled_.push_back(LowerAscii(line.group));
    }
  }

  FaxLine Take() {
    for (Grouped& entry : grouped_) {
      if (best_.size != 0) break;
      if (std::find(labelled_.begin(), labelled_.end(), entry.group) != labelled_.end()) best_ = std::move(entry.line);
    }
    return std::move(best_);
  }

 private:
  static constexpr std::size_t kMostLabels = 64;  // keeps the comparison of all with all short
  struct Grouped {
    std::string group;
    FaxLine line;
  };

  FaxLine FaxAt(const CardLine& line) const {
    return {static_cast<std::size_t>(line.raw.data() - card_.data()), line.raw.size(), NumberOf(line)};
  }
  void Offer(const CardLine& line, int score) {
    if (score <= best_score_) return;
    FaxLine found = FaxAt(line);
    if (found.number.empty()) return;
    best_ = std::move(found);
    best_score_ = score;
  }

  std::string_view card_;
  FaxLine best_;
  int best_score_ = -1;
  std::vector<Grouped> grouped_;
  std::vector<std::string> labelled_;
};

// How well a property serves as the name to show; 0: not at all. Names compare by their first letter first.
int NameRank(const CardLine& line) noexcept {
  if (EqualNoCase(line.name, "FN")) return 6;
  if (EqualNoCase(line.name, "N")) return 5;
  if (EqualNoCase(line.name, "ORG")) return 4;
  if (EqualNoCase(line.name, "NICKNAME")) return 3;
  if (EqualNoCase(line.name, "EMAIL")) return 2;
  return EqualNoCase(line.name, "TEL") ? 1 : 0;
}

std::string NameText(const CardLine& line, int rank) {
  if (rank == 5) return NameFromParts(line);
  if (rank == 4) return std::string(Trim(Component(DecodeValue(line), 0)));
  return rank == 1 ? NumberOf(line) : TextOf(line);
}

}  // namespace

std::size_t ForEachCard(std::string_view file, const std::function<void(std::size_t, std::size_t)>& found) {
  constexpr std::size_t kNone = std::string_view::npos;
  std::size_t start = kNone, nested = 0, unreadable = 0, pos = 0;
  bool after_agent = false;
  if (file.starts_with("\xEF\xBB\xBF")) pos = 3;
  while (pos < file.size()) {
    const std::size_t eol = file.find('\n', pos);
    const std::size_t next = eol == kNone ? file.size() : eol + 1;
    const std::string_view physical = file.substr(pos, next - pos);
    const std::string_view line = physical.front() == ' ' || physical.front() == '\t' ? "" : Trim(physical);
    if (EqualNoCase(line, "BEGIN:VCARD")) {
      if (start != kNone && after_agent) {
        ++nested;
      } else {
        if (start != kNone) ++unreadable;
        start = pos;
        nested = 0;
      }
    } else if (start != kNone && EqualNoCase(line, "END:VCARD")) {
      if (nested > 0) {
        --nested;
      } else {
        found(start, next - start);
        start = kNone;
      }
    }
    after_agent = StartsWithNoCase(line, "AGENT") || (after_agent && line.empty());
    pos = next;
  }
  return unreadable + (start != kNone ? 1 : 0);
}

CardStyle StyleOf(std::string_view card) {
  CardStyle style;
  const std::size_t eol = card.find('\n');
  if (eol != std::string_view::npos && (eol == 0 || card[eol - 1] != '\r')) style.new_line = NewLine::kLf;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    if (!EqualNoCase(line.name, "VERSION")) continue;
    const std::string_view version = Trim(line.value);
    style.version = version.starts_with("4") ? 40 : version.starts_with("2") ? 21 : 30;
    break;
  }
  return style;
}

CardSummary Summarize(std::string_view card) {
  CardSummary summary;
  FaxFinder fax(card);
  int best_rank = 0;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    if (int rank = NameRank(line); rank > best_rank) {
      if (std::string text = NameText(line, rank); !text.empty()) {
        summary.name = std::move(text);
        best_rank = rank;
      }
    }
    fax.See(line);
    if (SaysGroup(line)) summary.group = true;
    if (summary.note.empty() && EqualNoCase(line.name, "NOTE")) summary.note = TextOf(line);
  }
  summary.fax = fax.Take().number;
  return summary;
}

CardIdentity Identify(std::string_view card) {
  CardIdentity identity;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    if (EqualNoCase(line.name, "UID") && identity.uid.empty()) identity.uid = TextOf(line);
    if (SaysGroup(line)) identity.group = true;
    if (const int rank = NameRank(line); rank > 0 && !identity.named) identity.named = !NameText(line, rank).empty();
  }
  return identity;
}

std::string NormalUid(std::string_view uid) {
  uid = Trim(uid);
  if (StartsWithNoCase(uid, "urn:uuid:")) uid.remove_prefix(9);
  return LowerAscii(uid);
}

bool IsMemberLine(std::string_view name) noexcept {
  return EqualNoCase(name, "MEMBER") || EqualNoCase(name, "X-ADDRESSBOOKSERVER-MEMBER");
}

bool ReadMember(const std::string& value, MemberAddress& member) {
  const std::string_view text = Trim(value);
  member.mail = StartsWithNoCase(text, "mailto:");
  member.text = member.mail ? LowerAscii(text.substr(7)) : NormalUid(text);
  return !member.text.empty();
}

std::vector<MemberAddress> MembersOf(std::string_view card) {
  std::vector<MemberAddress> members;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    MemberAddress member;
    if (IsMemberLine(line.name) && ReadMember(TextOf(line), member)) members.push_back(std::move(member));
  }
  return members;
}

std::vector<std::string> MailAddressesOf(std::string_view card) {
  std::vector<std::string> addresses;
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) {
    if (!EqualNoCase(line.name, "EMAIL")) continue;
    const std::string text = LowerAscii(TextOf(line));
    addresses.emplace_back(StartsWithNoCase(text, "mailto:") ? text.substr(7) : text);
  }
  return addresses;
}

std::string NumberIn(std::string_view text) {
  if (!StartsWithNoCase(text, "tel:")) return std::string(text);
  return std::string(text.substr(4, text.find(';') == std::string_view::npos ? text.size() : text.find(';') - 4));
}

FaxLine FindFax(std::string_view card) {
  FaxFinder finder(card);
  LineReader reader(card);
  for (CardLine line; reader.Next(line);) finder.See(line);
  return finder.Take();
}

}  // namespace uab::vcard
