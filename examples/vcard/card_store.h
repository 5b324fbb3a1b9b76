// The cards of one file in memory: the file's text as it is, 32 bytes for each card, and a hash table from keys to
// cards. Cards are parsed when somebody looks at them. A changed or added card has a text of its own; what lies between
// the cards stays with the file. A card's number never changes: a deleted one keeps its number and text.
//
// One thread at a time.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "card_reader.h"
#include "text.h"

namespace uab::vcard {

using CardNumber = std::uint32_t;

// The members of a group, as written and for looking up.
struct MemberList {
  struct Member {
    CardKey key;  // of the UID or of the mail address
    bool mail;
  };
  std::vector<Member> members;
  std::unordered_set<CardKey, CardKeyHash> uids;
};

class CardStore {
 public:
  // Takes over a file's text. A card that shows no name at all is skipped like one that never ends.
  // REQUIRES: less than 4 GiB.
  static std::shared_ptr<CardStore> Parse(std::string text);

  CardNumber size() const noexcept { return static_cast<CardNumber>(cards_.size()); }  // deleted ones included
  std::size_t skipped() const noexcept { return skipped_; }
  bool deleted(CardNumber card) const noexcept { return (cards_[card].flags & kDeleted) != 0; }
  bool group(CardNumber card) const noexcept { return (cards_[card].flags & kGroup) != 0; }
  const CardKey& key(CardNumber card) const noexcept { return cards_[card].key; }
  std::string_view text(CardNumber card) const noexcept;  // borrows, until that card changes

  std::optional<CardNumber> Find(const CardKey& key) const noexcept;  // no deleted one

  CardNumber Add(std::string text);  // at the end
  void Replace(CardNumber card, std::string text);
  void Delete(CardNumber card) noexcept;

  // The UID by which a group names the card: its own; or the one that stands for a card without, which has to be
  // written into the card before anything else of it changes.
  std::string UidOf(CardNumber card) const;
  bool HasUid(CardNumber card) const noexcept { return (cards_[card].flags & kOwnUid) != 0; }

  const MemberList& MembersOf(CardNumber group);  // borrows, until that card changes
  bool HasMember(CardNumber group, const std::string& uid);
  // False: no line can name that UID. The group's text grows at its end: many members cost linear time.
  bool AddMember(CardNumber group, const std::string& uid);

  std::optional<CardNumber> FindMail(const CardKey& address);  // the first card with that mail address

  std::string Serialize() const;  // the whole file

 private:
  static constexpr std::uint32_t kDeleted = 1, kGroup = 2, kOwnUid = 4;
  static constexpr std::uint32_t kInFile = 0;

  struct Card {
    CardKey key;
    std::uint32_t offset = 0;         // in file_
    std::uint32_t size = 0;           // in file_; 0: not there
    std::uint32_t changed = kInFile;  // else 1 + the place in changed_
    std::uint32_t flags = 0;          // the upper 24 bits: how many cards with the same identity come before
  };
  static_assert(sizeof(Card) == 32);

  void Append(Card card, const CardIdentity& identity, std::string_view text);
  static CardKey KeyFor(const CardIdentity& identity, std::string_view text, std::uint32_t earlier);
  static std::string StandInUid(std::string_view text, std::uint32_t earlier);
  void Index(CardNumber card);
  void Rehash(std::size_t slots);
  std::string& OwnText(CardNumber card);

  std::string file_;
  std::vector<Card> cards_;
  std::vector<std::uint32_t> slots_;  // open addressing: 1 + a card's number, or 0
  std::deque<std::string> changed_;
  std::size_t skipped_ = 0;
  std::unordered_map<CardKey, std::uint32_t, CardKeyHash> repeats_;  // how often an identity has come already
  std::unordered_map<CardNumber, MemberList> members_;
  std::optional<std::unordered_map<CardKey, CardNumber, CardKeyHash>> mail_;  // made when first asked for
};

}  // namespace uab::vcard
