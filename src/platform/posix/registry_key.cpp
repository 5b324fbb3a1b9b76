#include "platform/posix/registry_key.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "platform/posix/registry_name.h"
#include "platform/posix/registry_value.h"

namespace uab {
namespace {

struct KeyFile {
  std::uint64_t changes;
  std::uint32_t name_chars;
  char16_t name[kMaxKeyName];
};
constexpr std::size_t kKeyFileHeader = offsetof(KeyFile, name);
constexpr char kNewFolder[] = ".new";  // one writer at a time, so one name will do

LSTATUS FromErrno() { return static_cast<LSTATUS>(ErrorFromErrno(errno)); }

// False: it can't be read as a key file. An empty one is the root's.
bool ReadKeyFile(int file, std::u16string* name) {
  KeyFile content{};
  ssize_t size = ReadAt(file, &content, sizeof content, 0);
  if (size < 0 || content.name_chars > kMaxKeyName) return false;
  if (static_cast<std::size_t>(size) < kKeyFileHeader + content.name_chars * sizeof(char16_t)) {
    if (content.name_chars != 0) return false;
  }
  name->assign(content.name, content.name_chars);
  return true;
}

bool WriteKeyFile(int folder, std::u16string_view name) {
  KeyFile content{};
  content.name_chars = static_cast<std::uint32_t>(name.size());
  std::copy(name.begin(), name.end(), content.name);
  UniqueFd file(openat(folder, kKeyFile, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  return file && WriteAll(file.Get(), &content, kKeyFileHeader + name.size() * sizeof(char16_t));
}

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};
using FolderWalk = std::unique_ptr<DIR, CloseFolder>;

FolderWalk WalkFolder(int folder) {
  UniqueFd own(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));  // a walk has a position of its own
  FolderWalk walk(own ? fdopendir(own.Get()) : nullptr);
  if (walk) static_cast<void>(own.Detach());
  return walk;
}

// Removes what is left of a key; best effort, for what stays is no key either.
void RemoveFolder(int parent, const char* name) {
  if (unlinkat(parent, name, AT_REMOVEDIR) == 0 || errno == ENOENT) return;
  {
    UniqueFd folder(openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    FolderWalk walk = folder ? WalkFolder(folder.Get()) : nullptr;
    if (!walk) return;
    while (const dirent* entry = readdir(walk.get())) {
      std::string_view file(entry->d_name);
      if (file == "." || file == "..") continue;
      if (unlinkat(folder.Get(), entry->d_name, 0) != 0) RemoveFolder(folder.Get(), entry->d_name);
    }
  }
  unlinkat(parent, name, AT_REMOVEDIR);
}

// A link among the keys is none: followed, it could make a key that lies inside itself.
bool IsLink(int folder, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_LNK;
  struct stat info;
  return fstatat(folder, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0 || S_ISLNK(info.st_mode);
}

// Whether a key can be opened by this name, and not another one: a key without a name would be its own parent.
bool IsKeyName(std::u16string_view name) {
  constexpr std::u16string_view kNoPart(u"\\\0", 2);
  return !name.empty() && name.find_first_of(kNoPart) == std::u16string_view::npos;
}

// The name of the key or value that a folder's entry holds; false when it is none.
bool ReadEntryName(int folder, const dirent& entry, Key::Entry kind, std::u16string* name) {
  const char* file_name = entry.d_name;
  if (file_name[0] == '.' || IsLink(folder, entry)) return false;
  if (IsValueFileName(file_name) != (kind == Key::Entry::kValue)) return false;
  if (kind == Key::Entry::kValue) {
    ValueReader value;
    if (value.OpenFile(folder, file_name) != ERROR_SUCCESS) return false;
    *name = value.Name();
    return name->find(u'\0') == std::u16string::npos && ValueFileName(*name) == file_name;
  }
  UniqueFd file(openat(folder, (std::string(file_name) + "/" + kKeyFile).c_str(), O_RDONLY | kKeyFileFlags));
  return file && ReadKeyFile(file.Get(), name) && IsKeyName(*name) && KeyFolderName(*name) == file_name;
}

bool HasSubkeys(int folder) {
  FolderWalk walk = WalkFolder(folder);
  std::u16string name;
  while (const dirent* entry = walk ? readdir(walk.get()) : nullptr) {
    if (ReadEntryName(folder, *entry, Key::Entry::kSubkey, &name)) return true;
  }
  return walk == nullptr;  // what can't be read might have some
}

}  // namespace

LSTATUS Key::OpenAt(const std::shared_ptr<const Hive>& hive, int folder, const char* path, REGSAM access,
                    std::unique_ptr<Key>* key) {
  auto opened = std::make_unique<Key>();
  *opened->folder_.Put() = openat(folder, path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (!opened->folder_) return FromErrno();
  *opened->file_.Put() = openat(opened->folder_.Get(), kKeyFile, O_RDONLY | kKeyFileFlags);
  if (!opened->file_) return FromErrno();
  if (!ReadKeyFile(opened->file_.Get(), &opened->name_)) return ERROR_FILE_NOT_FOUND;
  opened->hive_ = hive;
  opened->access_ = access;
  *key = std::move(opened);
  return ERROR_SUCCESS;
}

LSTATUS Key::OpenRoot(bool create, std::unique_ptr<Key>* root) {
  std::shared_ptr<const Hive> hive;
  if (LSTATUS status = OpenHive(create, &hive); status != ERROR_SUCCESS) return status;
  return OpenAt(hive, hive->folder.Get(), ".", KEY_ALL_ACCESS, root);
}

LSTATUS Key::CheckAlive() const noexcept {
  struct stat info;
  return fstat(file_.Get(), &info) == 0 && info.st_nlink > 0 ? ERROR_SUCCESS : ERROR_KEY_DELETED;
}

LSTATUS Key::Reopen(REGSAM access, std::unique_ptr<Key>* key) const {
  if (LSTATUS status = CheckAlive(); status != ERROR_SUCCESS) return status;
  LSTATUS status = OpenAt(hive_, folder_.Get(), ".", access, key);
  return status == ERROR_FILE_NOT_FOUND ? ERROR_KEY_DELETED : status;
}

LSTATUS Key::OpenSubkey(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key) const {
  if (LSTATUS status = CheckAlive(); status != ERROR_SUCCESS) return status;
  std::unique_ptr<Key> opened;
  LSTATUS status = OpenAt(hive_, folder_.Get(), KeyFolderName(name).c_str(), access, &opened);
  if (status != ERROR_SUCCESS) return status;
  if (!SameName(opened->name_, name)) return ERROR_WRITE_FAULT;  // two long names of one hash: refused
  *key = std::move(opened);
  return ERROR_SUCCESS;
}

LSTATUS Key::CreateSubkey(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key, bool* created) {
  *created = false;
  LSTATUS status = OpenSubkey(name, access, key);
  if (status != ERROR_FILE_NOT_FOUND) return status;
  std::scoped_lock own(mutex_);
  HiveLock lock;
  if ((status = lock.Acquire(*hive_, HiveLock::Mode::kWrite)) != ERROR_SUCCESS) return status;
  status = OpenSubkey(name, access, key);  // another may have been first
  if (status != ERROR_FILE_NOT_FOUND) return status;

  std::string file_name = KeyFolderName(name);
  RemoveFolder(folder_.Get(), kNewFolder);
  RemoveFolder(folder_.Get(), file_name.c_str());
  if (mkdirat(folder_.Get(), kNewFolder, 0700) != 0) return FromErrno();
  std::unique_ptr<Key> made;
  {
    UniqueFd folder(openat(folder_.Get(), kNewFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || !WriteKeyFile(folder.Get(), name)) return FromErrno();
  }
  if ((status = OpenAt(hive_, folder_.Get(), kNewFolder, access, &made)) != ERROR_SUCCESS) return status;
  std::uint64_t before = Changes();
  if ((status = CountChange()) != ERROR_SUCCESS) return status;
  if (renameat(folder_.Get(), kNewFolder, folder_.Get(), file_name.c_str()) != 0) return FromErrno();
  Follow(before, Entry::kSubkey, name, true);
  *key = std::move(made);
  *created = true;
  return ERROR_SUCCESS;
}

// REQUIRES: the hive's lock.
LSTATUS Key::Remove() const {
  if (LSTATUS status = CheckAlive(); status != ERROR_SUCCESS) return status;
  if (name_.empty() || HasSubkeys(folder_.Get())) return ERROR_ACCESS_DENIED;
  std::unique_ptr<Key> parent;
  if (LSTATUS status = OpenAt(hive_, folder_.Get(), "..", KEY_ALL_ACCESS, &parent); status != ERROR_SUCCESS) {
    return status;
  }
  if (LSTATUS status = parent->CountChange(); status != ERROR_SUCCESS) return status;
  if (unlinkat(folder_.Get(), kKeyFile, 0) != 0) return FromErrno();
  RemoveFolder(parent->folder_.Get(), KeyFolderName(name_).c_str());
  return ERROR_SUCCESS;
}

LSTATUS Key::DeleteSubkey(std::u16string_view name) {
  std::scoped_lock own(mutex_);
  HiveLock lock;
  if (LSTATUS status = lock.Acquire(*hive_, HiveLock::Mode::kWrite); status != ERROR_SUCCESS) return status;
  std::unique_ptr<Key> subkey;
  if (LSTATUS status = OpenSubkey(name, KEY_ALL_ACCESS, &subkey); status != ERROR_SUCCESS) return status;
  std::uint64_t before = Changes();
  LSTATUS status = subkey->Remove();
  if (status == ERROR_SUCCESS) Follow(before, Entry::kSubkey, name, false);
  return status;
}

LSTATUS Key::DeleteSelf() {
  HiveLock lock;
  LSTATUS status = lock.Acquire(*hive_, HiveLock::Mode::kWrite);
  return status == ERROR_SUCCESS ? Remove() : status;
}

LSTATUS Key::SetValue(std::u16string_view name, DWORD type, std::span<const BYTE> data) {
  std::scoped_lock own(mutex_);
  HiveLock lock;
  if (LSTATUS status = lock.Acquire(*hive_, HiveLock::Mode::kWrite); status != ERROR_SUCCESS) return status;
  if (LSTATUS status = CheckAlive(); status != ERROR_SUCCESS) return status;
  ValueReader old;
  LSTATUS status = old.Open(folder_.Get(), name);
  if (status == ERROR_SUCCESS) {  // a value keeps the name it was created with
    if (old.Holds(type, data)) return ERROR_SUCCESS;
    return WriteValue(folder_.Get(), old.Name(), type, data, true);
  }
  if (status != ERROR_FILE_NOT_FOUND) return status;
  std::uint64_t before = Changes();
  if ((status = CountChange()) != ERROR_SUCCESS) return status;
  status = WriteValue(folder_.Get(), name, type, data, false);
  if (status == ERROR_SUCCESS) Follow(before, Entry::kValue, name, true);
  return status;
}

LSTATUS Key::DeleteValue(std::u16string_view name) {
  std::scoped_lock own(mutex_);
  HiveLock lock;
  if (LSTATUS status = lock.Acquire(*hive_, HiveLock::Mode::kWrite); status != ERROR_SUCCESS) return status;
  if (LSTATUS status = CheckAlive(); status != ERROR_SUCCESS) return status;
  ValueReader old;
  if (LSTATUS status = old.Open(folder_.Get(), name); status != ERROR_SUCCESS) return status;
  std::uint64_t before = Changes();
  if (LSTATUS status = CountChange(); status != ERROR_SUCCESS) return status;
  if (unlinkat(folder_.Get(), ValueFileName(name).c_str(), 0) != 0) return FromErrno();
  Follow(before, Entry::kValue, name, false);
  return ERROR_SUCCESS;
}

std::uint64_t Key::Changes() const noexcept {
  std::uint64_t changes = 0;
  return ReadAt(file_.Get(), &changes, sizeof changes, 0) == sizeof changes ? changes : 0;
}

// Before the change, not after it: a process killed in between then costs a listing, not the truth of one.
// REQUIRES: the hive's lock.
LSTATUS Key::CountChange() const noexcept {
  UniqueFd file(openat(folder_.Get(), kKeyFile, O_WRONLY | kKeyFileFlags));
  if (!file) return FromErrno();
  std::uint64_t changes = Changes() + 1;
  return WriteAll(file.Get(), &changes, sizeof changes) ? ERROR_SUCCESS : FromErrno();
}

// A listing that was good before the change of this handle's own is kept good.
void Key::Follow(std::uint64_t before, Entry kind, std::u16string_view name, bool added) {
  for (std::unique_ptr<Listing>& listing : listings_) {
    if (listing && listing->changes != before) listing.reset();
    if (listing) listing->changes = before + 1;
  }
  std::unique_ptr<Listing>& place = listings_[static_cast<int>(kind)];
  std::unique_ptr<Listing> listing = std::move(place);  // none until the change is in it: an allocation may fail
  if (!listing) return;
  std::u16string entry(name);
  auto at = std::lower_bound(listing->names.begin(), listing->names.end(), entry, NameLess);
  if (added) {
    listing->names.insert(at, std::move(entry));
  } else {
    listing->names.erase(at);
  }
  place = std::move(listing);
}

LSTATUS Key::MakeListing(Entry kind, std::unique_ptr<Listing>* listing) const {
  HiveLock lock;
  if (LSTATUS status = lock.Acquire(*hive_, HiveLock::Mode::kRead); status != ERROR_SUCCESS) return status;
  listing->reset();
  auto made = std::make_unique<Listing>();
  made->changes = Changes();
  FolderWalk walk = WalkFolder(folder_.Get());
  if (!walk) return FromErrno();
  std::u16string name;
  while (const dirent* entry = readdir(walk.get())) {
    if (ReadEntryName(folder_.Get(), *entry, kind, &name)) made->names.push_back(name);
  }
  std::sort(made->names.begin(), made->names.end(), NameLess);
  *listing = std::move(made);
  return ERROR_SUCCESS;
}

LSTATUS Key::NameAt(Entry kind, DWORD index, std::u16string* name) {
  std::scoped_lock own(mutex_);
  if (LSTATUS status = CheckAlive(); status != ERROR_SUCCESS) return status;
  std::unique_ptr<Listing>& listing = listings_[static_cast<int>(kind)];
  if (!listing || listing->changes != Changes()) {
    if (LSTATUS status = MakeListing(kind, &listing); status != ERROR_SUCCESS) return status;
  }
  if (index >= listing->names.size()) return ERROR_NO_MORE_ITEMS;
  *name = listing->names[index];
  return ERROR_SUCCESS;
}

LSTATUS Key::LastWrite(std::u16string_view subkey, FILETIME* time) const {
  struct stat info;
  if (fstatat(folder_.Get(), KeyFolderName(subkey).c_str(), &info, 0) != 0) return FromErrno();
  constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
  std::uint64_t ticks = static_cast<std::uint64_t>(info.st_mtim.tv_sec + kSecondsFrom1601To1970) * 10'000'000 +
                        static_cast<std::uint64_t>(info.st_mtim.tv_nsec) / 100;
  *time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  return ERROR_SUCCESS;
}

}  // namespace uab
