#include "card_store.h"

#include "card_editor.h"

namespace uab::vcard {

std::shared_ptr<CardStore> CardStore::Parse(std::string text) {
  auto store = std::make_shared<CardStore>();
  store->file_ = std::move(text);
  const std::string_view file = store->file_;
  store->skipped_ = ForEachCard(file,
                                [&](std::size_t offset, std::size_t size) {
                                  const std::string_view card = file.substr(offset, size);
                                  const CardIdentity identity = Identify(card);
                                  if (!identity.named) {
                                    ++store->skipped_;
                                    return;
                                  }
                                  Card entry;
                                  entry.offset = static_cast<std::uint32_t>(offset);
                                  entry.size = static_cast<std::uint32_t>(size);
                                  store->Append(entry, identity, card);
                                }) +
                    store->skipped_;
  store->cards_.shrink_to_fit();
  return store;
}

std::string CardStore::StandInUid(std::string_view text, std::uint32_t earlier) {
  CardKey key = HashKey(text);
  key.second += earlier;
  return FormatUuid(key);
}

CardKey CardStore::KeyFor(const CardIdentity& identity, std::string_view text, std::uint32_t earlier) {
  if (identity.uid.empty()) return HashKey(StandInUid(text, earlier));
  const std::string uid = NormalUid(identity.uid);
  return HashKey(earlier == 0 ? uid : uid + '\n' + std::to_string(earlier));
}

// Cards with the same UID, or without one and of the same text, are told apart by their order.
void CardStore::Append(Card card, const CardIdentity& identity, std::string_view text) {
  constexpr std::uint32_t kMostRepeats = 0xFFFFFF;
  std::uint32_t earlier = 0;
  const CardKey first = KeyFor(identity, text, 0);
  card.key = first;
  while (Find(card.key) && earlier < kMostRepeats) {
    earlier = std::max(earlier + 1, ++repeats_[first]);
    card.key = KeyFor(identity, text, earlier);
  }
  card.flags = (earlier << 8) | (identity.group ? kGroup : 0) | (identity.uid.empty() ? 0 : kOwnUid);
  cards_.push_back(card);
  Index(size() - 1);
}

std::string_view CardStore::text(CardNumber card) const noexcept {
  const Card& entry = cards_[card];
  if (entry.changed != kInFile) return changed_[entry.changed - 1];
  return std::string_view(file_).substr(entry.offset, entry.size);
}

std::optional<CardNumber> CardStore::Find(const CardKey& key) const noexcept {
  if (slots_.empty()) return std::nullopt;
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t slot = key.second & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
    const CardNumber card = slots_[slot] - 1;
    if (cards_[card].key == key && !deleted(card)) return card;
  }
  return std::nullopt;
}

void CardStore::Index(CardNumber card) {
  if (slots_.size() * 3 < cards_.size() * 4 + 16) return Rehash(std::max<std::size_t>(64, slots_.size() * 2));
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = cards_[card].key.second & mask;
  while (slots_[slot] != 0) slot = (slot + 1) & mask;
  slots_[slot] = card + 1;
}

void CardStore::Rehash(std::size_t slots) {
  slots_.assign(slots, 0);
  for (CardNumber card = 0; card < size(); ++card) {
    std::size_t slot = cards_[card].key.second & (slots - 1);
    while (slots_[slot] != 0) slot = (slot + 1) & (slots - 1);
    slots_[slot] = card + 1;
  }
}

CardNumber CardStore::Add(std::string text) {
  const CardIdentity identity = Identify(text);
  changed_.push_back(std::move(text));
  Card card;
  card.changed = static_cast<std::uint32_t>(changed_.size());
  Append(card, identity, changed_.back());
  mail_.reset();
  return size() - 1;
}

std::string& CardStore::OwnText(CardNumber card) {
  Card& entry = cards_[card];
  if (entry.changed == kInFile) {
    changed_.emplace_back(text(card));
    entry.changed = static_cast<std::uint32_t>(changed_.size());
  }
  return changed_[entry.changed - 1];
}

void CardStore::Replace(CardNumber card, std::string text) {
  if (!HasUid(card)) {
    SetUid(text, UidOf(card));
    cards_[card].flags |= kOwnUid;
  }
  OwnText(card) = std::move(text);
  members_.erase(card);
  mail_.reset();
}

void CardStore::Delete(CardNumber card) noexcept {
  cards_[card].flags |= kDeleted;
  mail_.reset();
}

std::string CardStore::UidOf(CardNumber card) const {
  if (HasUid(card)) return Identify(text(card)).uid;
  return StandInUid(text(card), cards_[card].flags >> 8);
}

const MemberList& CardStore::MembersOf(CardNumber group) {
  if (auto known = members_.find(group); known != members_.end()) return known->second;
  MemberList list;
  for (const MemberAddress& member : vcard::MembersOf(text(group))) {
    const CardKey key = HashKey(member.text);
    list.members.push_back({key, member.mail});
    if (!member.mail) list.uids.insert(key);
  }
  return members_.emplace(group, std::move(list)).first->second;
}

bool CardStore::HasMember(CardNumber group, const std::string& uid) {
  return MembersOf(group).uids.contains(HashKey(NormalUid(uid)));
}

bool CardStore::AddMember(CardNumber group, const std::string& uid) {
  if (!HasUid(group)) Replace(group, std::string(text(group)));
  MembersOf(group);
  std::string& text = OwnText(group);
  const CardStyle style = StyleOf(text);
  if (!vcard::AddMember(text, style, uid)) return false;
  const CardKey key = HashKey(NormalUid(uid));
  members_[group].members.push_back({key, false});
  members_[group].uids.insert(key);
  return true;
}

std::optional<CardNumber> CardStore::FindMail(const CardKey& address) {
  if (!mail_) {
    mail_.emplace();
    for (CardNumber card = 0; card < size(); ++card) {
      if (deleted(card)) continue;
      for (const std::string& mail : MailAddressesOf(text(card))) mail_->emplace(HashKey(mail), card);
    }
  }
  const auto found = mail_->find(address);
  return found == mail_->end() ? std::nullopt : std::optional(found->second);
}

std::string CardStore::Serialize() const {
  constexpr std::string_view kEmptyCard = "BEGIN:VCARD\r\nEND:VCARD\r\n", kMark = "\xEF\xBB\xBF";
  const auto never_ends = [](std::string_view text) { return ForEachCard(text, [](std::size_t, std::size_t) {}) != 0; };
  const std::string_view file = file_;
  std::string out;
  out.reserve(file.size() + file.size() / 8);
  std::size_t pos = 0;
  bool adding = false;
  for (CardNumber card = 0; card < size(); ++card) {
    const Card& entry = cards_[card];
    std::string_view before;
    if (entry.size != 0) {
      before = file.substr(pos, entry.offset - pos);
      pos = entry.offset + entry.size;
    } else if (!adding) {  // the first of the added ones: at the end, but in front of a card that never ends
      adding = true;
      before = file.substr(pos);
      if (never_ends(before)) before = pos == 0 && file.starts_with(kMark) ? kMark : "";
      pos += before.size();
    }
    out.append(before);
    if (deleted(card)) {
      // What never ends before it would go on behind it, to somebody else's end; and only a file begins with a mark.
      const bool parts = never_ends(before) || (out.empty() && file.substr(pos).starts_with(kMark));
      if (entry.size != 0 && parts) out.append(kEmptyCard);
      continue;
    }
    if (adding && !out.empty() && out.back() != '\n') out.append("\r\n");
    out.append(text(card));
  }
  if (adding && pos < file.size() && !out.empty() && out.back() != '\n') out.append("\r\n");
  return out.append(file.substr(pos));
}

}  // namespace uab::vcard
