#include "book.h"

#include "card_editor.h"

namespace uab::vcard {

namespace {

// UTF-16, or no text at all: nothing of ours can be added to it.
bool IsForeign(std::string_view content) noexcept {
  return content.starts_with("\xFF\xFE") || content.starts_with("\xFE\xFF") ||
         content.substr(0, 4).find('\0') != std::string_view::npos;
}

}  // namespace

Book::Book(std::filesystem::path path) : path_(std::move(path)) {
  const std::u8string file_name = path_.filename().u8string();
  const std::u8string stem = path_.stem().u8string();
  name_.assign(stem.begin(), stem.end());
  id_ = Hash64(std::string(file_name.begin(), file_name.end()));
}

CardStore& Book::cards() {
  if (!cards_) {
    stamp_ = StampOf(path_);
    std::optional<std::string> content = ReadWholeFile(path_);
    foreign_ = !(stamp_ == FileStamp{}) && (!content || IsForeign(*content));
    cards_ = CardStore::Parse(foreign_ || !content ? std::string() : std::move(*content));
  }
  return *cards_;
}

bool Book::Refresh() {
  if (!cards_) return false;
  const FileStamp now = StampOf(path_);
  if (now == stamp_) return false;
  std::optional<std::string> content = ReadWholeFile(path_);
  if (!(now == FileStamp{}) && (!content || IsForeign(*content))) return false;  // not to be read: what we have stays
  std::shared_ptr<CardStore> fresh = CardStore::Parse(std::move(content).value_or(std::string()));
  MakeChangesIn(*fresh);
  cards_ = std::move(fresh);
  stamp_ = now;
  foreign_ = false;
  return true;
}

void Book::MakeChangesIn(CardStore& fresh) {
  const auto changes = std::move(changed_);
  changed_.clear();
  for (const auto& [card, original] : changes) MakeChangeIn(fresh, card, original);
}

// Where both have changed a card, both stay: theirs where it was, ours as a card of its own.
void Book::MakeChangeIn(CardStore& fresh, CardNumber card, const Original& original) {
  const std::string text(cards_->text(card));
  const std::optional<CardNumber> theirs = fresh.Find(cards_->key(card));
  const bool untouched = theirs && original.existed && Hash64(fresh.text(*theirs)) == original.hash;
  if (theirs && fresh.text(*theirs) == text && !cards_->deleted(card)) return;
  CardNumber changed = 0;
  if (cards_->deleted(card)) {
    if (!untouched) return;
    fresh.Delete(changed = *theirs);
  } else if (untouched) {
    fresh.Replace(changed = *theirs, text);
  } else {
    std::string copy = text;
    if (theirs) SetUid(copy, NewUuid());
    changed = fresh.Add(std::move(copy));
  }
  const std::uint64_t hash = untouched ? original.hash : 0;
  changed_[changed] = {untouched, hash};
}

void Book::Remember(CardNumber card) { changed_.try_emplace(card, Original{true, Hash64(cards_->text(card))}); }

CardNumber Book::Add(std::string text) {
  const CardNumber card = cards().Add(std::move(text));
  changed_.try_emplace(card);
  return card;
}

void Book::Replace(CardNumber card, std::string text) {
  Remember(card);
  cards_->Replace(card, std::move(text));
}

void Book::Delete(CardNumber card) {
  Remember(card);
  cards_->Delete(card);
}

bool Book::AddMember(CardNumber group, const std::string& uid) {
  if (!changed_.contains(group)) Remember(group);  // the hash walks the text: once for many members
  return cards_->AddMember(group, uid);
}

HRESULT Book::Save(bool at_once) {
  using Clock = std::chrono::steady_clock;
  constexpr int kPause = 10;
  if (changed_.empty()) return S_OK;
  if (!at_once && Clock::now() - last_save_ < kPause * last_cost_) return S_OK;
  Refresh();
  if (foreign_) return E_ACCESSDENIED;
  if (changed_.empty()) return S_OK;
  const Clock::time_point start = Clock::now();
  std::error_code ignored;
  std::filesystem::create_directories(path_.parent_path(), ignored);
  const bool written = ReplaceFileContent(path_, cards_->Serialize());
  last_save_ = Clock::now();
  last_cost_ = last_save_ - start;
  if (!written) return E_ACCESSDENIED;
  changed_.clear();
  stamp_ = StampOf(path_);
  return S_OK;
}

CardStyle Book::style() {
  CardStore& store = cards();
  return store.size() == 0 ? CardStyle{} : StyleOf(store.text(0));
}

}  // namespace uab::vcard
