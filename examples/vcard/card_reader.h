// Reading cards: where they lie in a file, and what one says that an address book shows. Versions 2.1, 3.0 and 4.0
// alike. Any bytes are taken; time grows with their number. Stateless.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace uab::vcard {

// Calls found(offset, size) for each whole card of a file, BEGIN:VCARD to END:VCARD with its line end. Returns the
// number of cards that begin but never end; their bytes lie between the others, where whoever rewrites the file
// keeps them. A card within a card (AGENT) belongs to the outer one.
std::size_t ForEachCard(std::string_view file, const std::function<void(std::size_t, std::size_t)>& found);

enum class NewLine { kCrLf, kLf };
struct CardStyle {   // how a card is written, so that what is added to it looks alike
  int version = 30;  // 21, 30 or 40
  NewLine new_line = NewLine::kCrLf;
};
CardStyle StyleOf(std::string_view card);

// What an address book shows of a card; UTF-8.
struct CardSummary {
  std::string name;  // FN, else the parts of N, else organisation, nickname, mail address or a number
  std::string fax;   // the fax number; empty if it has none
  std::string note;
  bool group = false;
};
CardSummary Summarize(std::string_view card);

// What identifies a card: its UID as written, empty without one; and whether it is a group and shows a name.
struct CardIdentity {
  std::string uid;
  bool group = false;
  bool named = false;
};
CardIdentity Identify(std::string_view card);

// A UID in the form in which two are compared: without "urn:uuid:", in lower case.
std::string NormalUid(std::string_view uid);

// A group's members in their order.
struct MemberAddress {
  bool mail = false;  // text is a mail address, in lower case; else a normal UID
  std::string text;
};
bool ReadMember(const std::string& decoded_value, MemberAddress& member);  // false: of no kind that a card can have
bool IsMemberLine(std::string_view name) noexcept;
std::vector<MemberAddress> MembersOf(std::string_view card);

// All mail addresses of a card, in lower case.
std::vector<std::string> MailAddressesOf(std::string_view card);

// Which line holds the fax number.
struct FaxLine {
  std::size_t offset = 0;  // of the raw line in the card
  std::size_t size = 0;    // 0: the card has no fax number
  std::string number;
};
FaxLine FindFax(std::string_view card);

// A number as people dial it: a tel: address loses its scheme and parameters.
std::string NumberIn(std::string_view text);

}  // namespace uab::vcard
