#include "folder.h"

#include <algorithm>

namespace uab::vcard {
namespace {

std::string Utf8Of(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

std::filesystem::path PathFromUtf8(std::string_view text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

ENTRYID* EntryOf(const std::string& bytes) noexcept {
  return bytes.empty() ? nullptr : reinterpret_cast<ENTRYID*>(const_cast<char*>(bytes.data()));
}

}  // namespace

std::filesystem::path PathFromWide(const WCHAR* text) {
  return text == nullptr ? std::filesystem::path() : PathFromUtf8(ToUtf8(text));
}

WideString PathToWide(const std::filesystem::path& path) { return ToWide(Utf8Of(path)); }

Folder::Folder(FolderSettings settings) : settings_(std::move(settings)) {
  AddBook(settings_.folder / PathFromUtf8(settings_.default_file));
  Rescan();
}

Folder::~Folder() {
  Guard([&] { return SaveAll(); });
}

std::string Folder::name() const {
  std::filesystem::path folder = settings_.folder;
  if (!folder.has_filename()) folder = folder.parent_path();  // "cards/"
  const std::string name = Utf8Of(folder.filename());
  return name.empty() ? Utf8Of(settings_.folder) : name;
}

void Folder::Rescan() {
  std::vector<std::filesystem::path> found;
  std::error_code error;
  for (std::filesystem::directory_iterator at(settings_.folder, error), end; !error && at != end; at.increment(error)) {
    if (EqualNoCase(Utf8Of(at->path().extension()), ".vcf") && at->is_regular_file(error)) found.push_back(at->path());
  }
  std::sort(found.begin(), found.end());
  for (std::filesystem::path& path : found) AddBook(std::move(path));
}

void Folder::AddBook(std::filesystem::path path) {
  auto book = std::make_unique<Book>(std::move(path));
  if (FindBook(book->id())) return;
  books_.push_back(std::move(book));
  numbers_.emplace(books_.back()->id(), book_count() - 1);
}

std::optional<BookNumber> Folder::FindBook(std::uint64_t id) const noexcept {
  const auto found = numbers_.find(id);
  return found == numbers_.end() ? std::nullopt : std::optional(found->second);
}

HRESULT Folder::SaveAll() {
  HRESULT result = S_OK;
  for (const auto& book : books_) {
    if (const HRESULT hr = book->Save(true); Failed(hr)) result = hr;
  }
  return result;
}

void Folder::Refresh(BookNumber number) {
  if (book(number).Refresh()) events_.push_back({fnevObjectModified, MAPI_ABCONT, BookId(number), RootId()});
}

void Folder::RefreshAll() {
  for (BookNumber number = 0; number < book_count(); ++number) Refresh(number);
}

std::string Folder::BookId(BookNumber number) const {
  return MakeEntryId(settings_.uid, {EntryKind::kBook, books_[number]->id(), {}});
}

std::string Folder::CardId(CardRef ref) const {
  Book& book = *books_[ref.book];
  return MakeEntryId(settings_.uid, {EntryKind::kCard, book.id(), book.cards().key(ref.card)});
}

bool Folder::Read(ULONG size, const void* entry, EntryName& name) const noexcept {
  return ReadEntryId(settings_.uid, size, entry, name);
}

std::optional<CardRef> Folder::FindCard(const EntryName& name) {
  const std::optional<BookNumber> number = FindBook(name.book);
  if (name.kind != EntryKind::kCard || !number) return std::nullopt;
  const std::optional<CardNumber> card = book(*number).cards().Find(name.card);
  return card ? std::optional(CardRef{*number, *card}) : std::nullopt;
}

std::optional<CardRef> Folder::FindCard(const void* bytes, ULONG size) {
  EntryName name;
  return Read(size, bytes, name) ? FindCard(name) : std::nullopt;
}

std::vector<CardRef> Folder::ContentsOf(BookNumber number) {
  CardStore& cards = book(number).cards();
  std::vector<CardRef> refs;
  refs.reserve(cards.size());
  for (CardNumber card = 0; card < cards.size(); ++card) {
    if (!cards.deleted(card)) refs.push_back({number, card});
  }
  return refs;
}

std::optional<CardRef> Folder::FindMember(const MemberList::Member& member, BookNumber home) {
  const auto look_in = [&](BookNumber number) -> std::optional<CardRef> {
    CardStore& cards = book(number).cards();
    const std::optional<CardNumber> card = member.mail ? cards.FindMail(member.key) : cards.Find(member.key);
    return card ? std::optional(CardRef{number, *card}) : std::nullopt;
  };
  std::optional<CardRef> found = look_in(home);
  for (BookNumber number = 0; number < book_count() && !found; ++number) {
    if (number != home) found = look_in(number);
  }
  return found;
}

std::vector<CardRef> Folder::MembersOf(CardRef group) {
  std::vector<CardRef> refs;
  for (const MemberList::Member& member : book(group.book).cards().MembersOf(group.card).members) {
    if (const std::optional<CardRef> ref = FindMember(member, group.book)) refs.push_back(*ref);
  }
  return refs;
}

CardRef Folder::AddCard(BookNumber number, std::string text) {
  const CardRef ref{number, book(number).Add(std::move(text))};
  Report(fnevObjectCreated, ref);
  return ref;
}

void Folder::ReplaceCard(CardRef ref, std::string text) {
  book(ref.book).Replace(ref.card, std::move(text));
  Report(fnevObjectModified, ref);
}

void Folder::DeleteCard(CardRef ref) {
  Report(fnevObjectDeleted, ref);
  book(ref.book).Delete(ref.card);
}

HRESULT Folder::AddMember(CardRef group, CardRef member, bool even_if_there) {
  Book& home = book(member.book);
  const std::string uid = home.cards().UidOf(member.card);
  if (!even_if_there && book(group.book).cards().HasMember(group.card, uid)) return S_OK;
  if (!home.cards().HasUid(member.card)) home.Replace(member.card, std::string(home.cards().text(member.card)));
  if (!book(group.book).AddMember(group.card, uid)) return E_ACCESSDENIED;
  Report(fnevObjectModified, group);
  return S_OK;
}

HRESULT Folder::Advise(std::string entry, ULONG mask, IMAPIAdviseSink* sink, ULONG* connection) {
  watches_.push_back({next_connection_, mask, std::move(entry), Ref<IMAPIAdviseSink>(sink)});
  *connection = next_connection_++;
  return S_OK;
}

HRESULT Folder::Unadvise(ULONG connection, Ref<IMAPIAdviseSink>& sink) {
  const auto found = std::find_if(watches_.begin(), watches_.end(),
                                  [&](const Watch& watch) { return watch.connection == connection; });
  if (found == watches_.end()) return MAPI_E_NOT_FOUND;
  sink = std::move(found->sink);
  watches_.erase(found);
  return S_OK;
}

void Folder::Report(ULONG type, CardRef ref) {
  if (watches_.empty()) return;
  const ULONG object_type = book(ref.book).cards().group(ref.card) ? MAPI_DISTLIST : MAPI_MAILUSER;
  events_.push_back({type, object_type, CardId(ref), BookId(ref.book)});
}

void Folder::Deliver(const std::vector<Event>& events) noexcept {
  Guard([&]() -> HRESULT {
    std::vector<Watch> watches;
    {
      const std::lock_guard<std::recursive_mutex> lock(mutex_);
      watches = watches_;
    }
    const std::string root = RootId();
    for (const Event& event : events) {
      for (const Watch& watch : watches) {
        if ((watch.mask & event.type) == 0) continue;
        if (watch.entry != event.entry && watch.entry != event.parent && watch.entry != root) continue;
        NOTIFICATION notification{};
        notification.ulEventType = event.type;
        OBJECT_NOTIFICATION& object = notification.info.obj;
        object.cbEntryID = static_cast<ULONG>(event.entry.size());
        object.lpEntryID = EntryOf(event.entry);
        object.ulObjType = event.object_type;
        object.cbParentID = static_cast<ULONG>(event.parent.size());
        object.lpParentID = EntryOf(event.parent);
        Guard([&]() -> HRESULT { return watch.sink->OnNotify(1, &notification), S_OK; });
      }
    }
    return S_OK;
  });
}

}  // namespace uab::vcard
