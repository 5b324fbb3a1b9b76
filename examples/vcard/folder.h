// What one service of a profile shows: the address files of a folder, finding cards in them, and who watches which
// entry. All objects of the provider share one of these; it dies, and writes what is left to write, with the last.
//
// Threads: every operation but Run is called inside Run, which lets one thread in at a time. Watchers are called after
// the lock has been given back, on the thread that made the change.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "book.h"
#include "com.h"
#include "entry_id.h"
#include "keluab/notification.h"
#include "values.h"

namespace uab::vcard {

using BookNumber = std::uint32_t;

struct CardRef {
  BookNumber book = 0;
  CardNumber card = 0;
};

struct FolderSettings {
  std::filesystem::path folder;  // may be empty or missing: then there is only the default file, which can't be written
  std::string default_file;      // file name of the address file that is always there, as the first container
  MAPIUID uid{};
  Memory memory;
  Ref<IUABSupport> support;
};

class Folder : public std::enable_shared_from_this<Folder> {
 public:
  explicit Folder(FolderSettings settings);
  ~Folder();

  const Memory& memory() const noexcept { return settings_.memory; }
  IUABSupport* support() const noexcept { return settings_.support.get(); }
  std::string name() const;  // UTF-8, to show

  // Runs the body of a slot under the lock and calls the watchers afterwards.
  template <typename Body>
  HRESULT Run(Body&& body) noexcept {
    std::vector<Event> events;
    const HRESULT result = Guard([&]() -> HRESULT {
      const std::lock_guard<std::recursive_mutex> lock(mutex_);
      ++depth_;
      const HRESULT hr = Guard(body);
      if (--depth_ == 0) events.swap(events_);
      return hr;
    });
    if (!events.empty()) Deliver(events);
    return result;
  }

  // Address files, numbered for as long as the folder lives. Rescan adds those that have come.
  void Rescan();
  BookNumber book_count() const noexcept { return static_cast<BookNumber>(books_.size()); }
  Book& book(BookNumber number) noexcept { return *books_[number]; }
  std::optional<BookNumber> FindBook(std::uint64_t id) const noexcept;
  HRESULT SaveAll();

  // Takes in other programs' changes of one file, and tells its watchers.
  void Refresh(BookNumber book);
  void RefreshAll();

  // Identifiers.
  std::string RootId() const { return MakeEntryId(settings_.uid, {EntryKind::kRoot, 0, {}}); }
  std::string TemplateId(EntryKind kind) const { return MakeEntryId(settings_.uid, {kind, 0, {}}); }
  std::string BookId(BookNumber book) const;
  std::string CardId(CardRef ref) const;
  bool Read(ULONG size, const void* entry, EntryName& name) const noexcept;
  std::optional<CardRef> FindCard(const EntryName& name);          // of kind kCard
  std::optional<CardRef> FindCard(const void* bytes, ULONG size);  // nothing for another kind of entry, too

  // Cards.
  std::vector<CardRef> ContentsOf(BookNumber book);
  std::vector<CardRef> MembersOf(CardRef group);  // those that are cards here: in the group's file, else in another
  CardRef AddCard(BookNumber book, std::string text);
  void ReplaceCard(CardRef ref, std::string text);
  void DeleteCard(CardRef ref);
  // A member needs a UID: a card without gets the one that has stood for it. E_ACCESSDENIED: no line can name its UID.
  HRESULT AddMember(CardRef group, CardRef member, bool even_if_there);

  HRESULT Advise(std::string entry, ULONG mask, IMAPIAdviseSink* sink, ULONG* connection);
  HRESULT Unadvise(ULONG connection, Ref<IMAPIAdviseSink>& sink);  // hands the sink over, to be let go outside Run

 private:
  struct Watch {
    ULONG connection;
    ULONG mask;
    std::string entry;
    Ref<IMAPIAdviseSink> sink;
  };
  struct Event {
    ULONG type;
    ULONG object_type;
    std::string entry;
    std::string parent;
  };
  void AddBook(std::filesystem::path path);
  void Report(ULONG type, CardRef ref);
  void Deliver(const std::vector<Event>& events) noexcept;
  std::optional<CardRef> FindMember(const MemberList::Member& member, BookNumber home);

  FolderSettings settings_;
  std::recursive_mutex mutex_;  // an object whose making fails closes inside Run
  int depth_ = 0;
  std::vector<std::unique_ptr<Book>> books_;
  std::unordered_map<std::uint64_t, BookNumber> numbers_;  // by the files' identifiers
  std::vector<Watch> watches_;
  std::vector<Event> events_;
  ULONG next_connection_ = 1;
};

// Counts an open object through which a file may change. REQUIRES: made inside Run.
class Writer {
 public:
  Writer(std::shared_ptr<Folder> folder, BookNumber book) noexcept : folder_(std::move(folder)), book_(book) {
    folder_->book(book_).AddWriter();
  }
  Writer(const Writer&) = delete;
  ~Writer() {
    folder_->Run([&]() -> HRESULT { return folder_->book(book_).RemoveWriter(), S_OK; });
  }

 private:
  std::shared_ptr<Folder> folder_;
  BookNumber book_;
};

std::filesystem::path PathFromWide(const WCHAR* text);
WideString PathToWide(const std::filesystem::path& path);

}  // namespace uab::vcard
