// One address file, a container of the provider: its cards, what has changed in them since it was written, and writing
// it. Another program's changes are never lost: a file that is not as it was read is read again before it is replaced,
// and our changes are made in it anew.
//
// One thread at a time.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <unordered_map>

#include "card_store.h"
#include "file_io.h"
#include "keluab/base.h"
#include "keluab/codes.h"

namespace uab::vcard {

class Book {
 public:
  explicit Book(std::filesystem::path path);  // reads nothing

  const std::string& name() const noexcept { return name_; }  // UTF-8: the file's name without its extension
  std::uint64_t id() const noexcept { return id_; }           // of the file's name; part of stored identifiers
  const std::filesystem::path& path() const noexcept { return path_; }
  bool there() const noexcept { return !(StampOf(path_) == FileStamp{}); }

  CardStore& cards();  // reads the file at the first call; no file: no cards
  std::shared_ptr<CardStore> shared_cards() { return cards(), cards_; }  // for tables, which outlive changes

  // Takes in what another program has written. True: all card numbers are void. An unreadable file leaves things as
  // they are.
  bool Refresh();

  // All changes go through these three; Save writes them.
  CardNumber Add(std::string text);
  void Replace(CardNumber card, std::string text);
  void Delete(CardNumber card);
  bool AddMember(CardNumber group, const std::string& uid);

  // Writes the file if anything has changed. Unless at_once, many changes in a row share one writing: it waits until
  // ten times as long has passed as the last one took, so that copying n entries takes time that grows with n.
  // E_ACCESSDENIED: it can't be written; the changes wait for the next call. Card numbers may be void after it.
  HRESULT Save(bool at_once);

  // How new cards are written: like the first one of the file.
  CardStyle style();

  // Open objects through which the file may change; when the last one goes, the changes are written.
  void AddWriter() noexcept { ++writers_; }
  void RemoveWriter() noexcept {
    if (--writers_ == 0) Save(true);
  }

 private:
  struct Original {
    bool existed = false;
    std::uint64_t hash = 0;  // of its text when the file was last read or written
  };
  void Remember(CardNumber card);
  void MakeChangesIn(CardStore& fresh);
  void MakeChangeIn(CardStore& fresh, CardNumber card, const Original& original);

  std::filesystem::path path_;
  std::string name_;
  std::uint64_t id_;
  FileStamp stamp_;
  std::shared_ptr<CardStore> cards_;
  std::unordered_map<CardNumber, Original> changed_;
  std::chrono::steady_clock::time_point last_save_{};
  std::chrono::steady_clock::duration last_cost_{};
  std::size_t writers_ = 0;
  bool foreign_ = false;  // the file is there but is nothing that we read: never replaced
};

}  // namespace uab::vcard
