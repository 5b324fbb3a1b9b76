// An open key of the hive. A key is a folder with a key file; removing that file is what deletes the key, so every
// handle of it sees the deletion, and what is left of the folder is cleared away then or by the next key of its name.
// The key file also counts the changes of the key's entries: a listing is good while the count stands still, and a walk
// over n entries costs one listing. Any thread may use a key; the mutex comes before the hive's lock.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>

#include "platform/posix/registry_hive.h"
#include "platform/posix/registry_name.h"

namespace uab {

inline constexpr REGSAM kSetValue = 0x2;

class Key : NonCopyable {
 public:
  static LSTATUS OpenRoot(bool create, std::unique_ptr<Key>* root);

  // ERROR_KEY_DELETED where this key is gone, here and below.
  LSTATUS Reopen(REGSAM access, std::unique_ptr<Key>* key) const;
  // ERROR_FILE_NOT_FOUND: no such subkey.
  LSTATUS OpenSubkey(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key) const;
  LSTATUS CreateSubkey(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key, bool* created);
  // Deletes the subkey. ERROR_ACCESS_DENIED: it has subkeys.
  LSTATUS DeleteSubkey(std::u16string_view name);

  LSTATUS SetValue(std::u16string_view name, DWORD type, std::span<const BYTE> data);
  LSTATUS DeleteValue(std::u16string_view name);

  // The name of a subkey or value by its place in name order. ERROR_NO_MORE_ITEMS: index at or behind the end.
  enum class Entry { kSubkey, kValue };
  LSTATUS NameAt(Entry kind, DWORD index, std::u16string* name);

  LSTATUS CheckAlive() const noexcept;
  bool Allows(REGSAM access) const noexcept { return (access_ & access) == access; }
  int Folder() const noexcept { return folder_.Get(); }

 private:
  struct Listing {
    std::uint64_t changes = 0;         // the key's count when it was made
    std::deque<std::u16string> names;  // in name order; a deque loses its first element in constant time
  };

  static LSTATUS OpenAt(const std::shared_ptr<const Hive>& hive, int folder, const char* path, REGSAM access,
                        std::unique_ptr<Key>* key);
  // Opens a subkey as it is found. What a power loss took from it is made up for.
  LSTATUS Find(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key) const;
  // The same, and settles it where the hive can be written. REQUIRES: the hive's lock, to write.
  LSTATUS FindSettled(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key) const;
  // Its file says its name, and its folder is called by today's rule.
  bool IsSettled() const { return !lost_ && place_ == KeyFolderName(name_); }
  std::uint64_t Changes() const noexcept;
  LSTATUS CountChange() const noexcept;
  LSTATUS MakeListing(Entry kind, std::unique_ptr<Listing>* listing) const;
  void Follow(std::uint64_t before, Entry kind, std::u16string_view name, bool added);

  std::shared_ptr<const Hive> hive_;
  UniqueFd folder_;
  UniqueFd file_;
  std::u16string name_;  // as created; empty: the root
  std::string place_;    // the folder that it was found in
  bool lost_ = false;    // the key file does not say the name
  REGSAM access_ = 0;
  std::mutex mutex_;
  std::unique_ptr<Listing> listings_[2];  // guarded by mutex_, by Entry; null: not made, or no longer good
};

}  // namespace uab
