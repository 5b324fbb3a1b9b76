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
constexpr std::uint64_t kNeverCounted = ~std::uint64_t{0};
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr char kNewFolder[] = ".new";  // one writer at a time, so one name will do

LSTATUS FromErrno() { return static_cast<LSTATUS>(ErrorFromErrno(errno)); }

// False: it is no file. The name is empty in the root's, and where a power loss emptied or cut it.
bool ReadKeyFile(int file, std::u16string* name) {
  KeyFile content{};
  ssize_t size = ReadAt(file, &content, sizeof content, 0);
  if (size < 0) return false;
  bool whole = content.name_chars <= kMaxKeyName &&
               static_cast<std::size_t>(size) >= kKeyFileHeader + content.name_chars * sizeof(char16_t);
  name->assign(content.name, whole ? content.name_chars : 0);
  return true;
}

// In place, for there may be handles of it; the name reaches the disk.
bool WriteKeyFile(int folder, std::u16string_view name) {
  KeyFile content{};
  content.name_chars = static_cast<std::uint32_t>(name.size());
  std::copy(name.begin(), name.end(), content.name);
  UniqueFd file(openat(folder, kKeyFile, O_WRONLY | O_CREAT | kKeyFileFlags, 0600));
  return file && WriteAll(file.Get(), &content, kKeyFileHeader + name.size() * sizeof(char16_t)) &&
         fdatasync(file.Get()) == 0;
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
    UniqueFd folder(openat(parent, name, kFolderFlags));
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

bool HasSubkeys(int folder);

// Whether a folder's entry is a key: it has a key file, or lost it while keys lie below. The name is empty where the
// file has lost it and a hash does not tell.
bool ReadSubkey(int folder, const std::string& file_name, std::u16string* name) {
  name->clear();
  UniqueFd file(openat(folder, (file_name + "/" + kKeyFile).c_str(), O_RDONLY | kKeyFileFlags));
  if (file) {
    if (!ReadKeyFile(file.Get(), name)) return false;
  } else {
    if (errno != ENOENT) return false;
    UniqueFd subkey(openat(folder, file_name.c_str(), kFolderFlags));
    if (!subkey || !HasSubkeys(subkey.Get())) return false;
  }
  if (name->empty()) {
    *name = NameOfKeyFolder(file_name);
    if (!IsKeyName(*name)) name->clear();
    return true;
  }
  if (!IsKeyName(*name)) return false;
  const std::string present = KeyFolderName(*name);
  if (present == file_name) return true;
  if (FormerKeyFolderName(*name) != file_name) return false;
  std::u16string other;
  return !ReadSubkey(folder, present, &other);
}

bool ReadValueName(int folder, const std::string& file_name, std::u16string* name) {
  ValueReader value, present;
  if (value.OpenFile(folder, file_name.c_str()) != ERROR_SUCCESS) return false;
  *name = value.Name();
  if (name->find(u'\0') != std::u16string::npos) return false;
  if (ValueFileName(*name) == file_name) return true;
  if (FormerValueFileName(*name) != file_name) return false;
  return present.OpenFile(folder, ValueFileName(*name).c_str()) != ERROR_SUCCESS;
}

// The name of the key or value that a folder's entry holds, as in ReadSubkey; false when it is none.
bool ReadEntryName(int folder, const dirent& entry, Key::Entry kind, std::u16string* name) {
  const char* file_name = entry.d_name;
  if (file_name[0] == '.' || IsLink(folder, entry)) return false;
  if (IsValueFileName(file_name) != (kind == Key::Entry::kValue)) return false;
  return kind == Key::Entry::kValue ? ReadValueName(folder, file_name, name) : ReadSubkey(folder, file_name, name);
}

bool HasSubkeys(int folder) {
  FolderWalk walk = WalkFolder(folder);
  std::u16string name;
  while (const dirent* entry = walk ? readdir(walk.get()) : nullptr) {
    if (ReadEntryName(folder, *entry, Key::Entry::kSubkey, &name)) return true;
  }
  return walk == nullptr;  // what can't be read might have some
}

// Clears what is left of a key, so that another can have its place. A key that is filed there by its former name moves
// to the present one. ERROR_ACCESS_DENIED: other keys lie there. REQUIRES: the hive's lock.
LSTATUS MakeRoom(int folder, const std::string& place) {
  std::u16string name;
  if (ReadSubkey(folder, place, &name)) {
    const std::string present = name.empty() ? place : KeyFolderName(name);
    if (present == place) return ERROR_ACCESS_DENIED;
    if (LSTATUS status = MakeRoom(folder, present); status != ERROR_SUCCESS) return status;
    return renameat(folder, place.c_str(), folder, present.c_str()) == 0 ? ERROR_SUCCESS : FromErrno();
  }
  {
    UniqueFd left(openat(folder, place.c_str(), kFolderFlags));
    if (left && HasSubkeys(left.Get())) return ERROR_ACCESS_DENIED;
  }
  RemoveFolder(folder, place.c_str());
  return ERROR_SUCCESS;
}

}  // namespace

LSTATUS Key::OpenAt(const std::shared_ptr<const Hive>& hive, int folder, const char* path, REGSAM access,
                    std::unique_ptr<Key>* key) {
  auto opened = std::make_unique<Key>();
  *opened->folder_.Put() = openat(folder, path, kFolderFlags);
  if (!opened->folder_) return FromErrno();
  *opened->file_.Put() = openat(opened->Folder(), kKeyFile, O_RDONLY | kKeyFileFlags);
  if (opened->file_) {
    if (!ReadKeyFile(opened->file_.Get(), &opened->name_)) return ERROR_FILE_NOT_FOUND;
  } else {
    LSTATUS status = FromErrno();
    if (errno != ENOENT || !HasSubkeys(opened->Folder())) return status;
    *opened->file_.Put() = openat(opened->Folder(), ".", kFolderFlags);  // as good for reading: it dies with the key
    if (!opened->file_) return FromErrno();
  }
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

LSTATUS Key::Find(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key) const {
  const std::string present = KeyFolderName(name), former = FormerKeyFolderName(name);
  std::string place = present;
  std::unique_ptr<Key> opened;
  LSTATUS status = OpenAt(hive_, folder_.Get(), place.c_str(), access, &opened);
  if (status == ERROR_FILE_NOT_FOUND && !former.empty()) {
    place = former;
    status = OpenAt(hive_, folder_.Get(), place.c_str(), access, &opened);
  }
  if (status != ERROR_SUCCESS) return status;
  opened->lost_ = opened->name_.empty();
  if (opened->lost_ && place == present) opened->name_ = name;
  if (!SameName(opened->name_, name)) {
    // Another key by its former name, or two long names of one hash: refused.
    const bool others = place != present || FormerKeyFolderName(opened->name_) == place;
    return others ? ERROR_FILE_NOT_FOUND : ERROR_WRITE_FAULT;
  }
  opened->place_ = std::move(place);
  *key = std::move(opened);
  return ERROR_SUCCESS;
}

LSTATUS Key::FindSettled(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key) const {
  if (LSTATUS status = CheckAlive(); status != ERROR_SUCCESS) return status;
  LSTATUS status = Find(name, access, key);
  if (status != ERROR_SUCCESS || (*key)->IsSettled()) return status;
  if ((*key)->lost_) {
    // Counted: a name of which only the hash was left is listed from now on.
    if (CountChange() != ERROR_SUCCESS || !WriteKeyFile((*key)->Folder(), name)) return ERROR_SUCCESS;
  } else {
    const std::string present = KeyFolderName(name);
    if (MakeRoom(Folder(), present) != ERROR_SUCCESS) return ERROR_SUCCESS;
    if (renameat(Folder(), (*key)->place_.c_str(), Folder(), present.c_str()) != 0) return ERROR_SUCCESS;
  }
  return Find(name, access, key);
}

LSTATUS Key::OpenSubkey(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key) const {
  if (LSTATUS status = CheckAlive(); status != ERROR_SUCCESS) return status;
  LSTATUS status = Find(name, access, key);
  if (status != ERROR_SUCCESS || (*key)->IsSettled() || !((*key)->lost_ || (*key)->Allows(kSetValue))) return status;
  HiveLock lock;
  if (lock.Acquire(*hive_, HiveLock::Mode::kWrite) == ERROR_SUCCESS) status = FindSettled(name, access, key);
  return status;
}

LSTATUS Key::CreateSubkey(std::u16string_view name, REGSAM access, std::unique_ptr<Key>* key, bool* created) {
  *created = false;
  LSTATUS status = OpenSubkey(name, access, key);
  if (status != ERROR_FILE_NOT_FOUND) return status;
  std::scoped_lock own(mutex_);
  HiveLock lock;
  if ((status = lock.Acquire(*hive_, HiveLock::Mode::kWrite)) != ERROR_SUCCESS) return status;
  status = FindSettled(name, access, key);  // another may have been first
  if (status != ERROR_FILE_NOT_FOUND) return status;

  std::string file_name = KeyFolderName(name);
  RemoveFolder(folder_.Get(), kNewFolder);
  if ((status = MakeRoom(folder_.Get(), file_name)) != ERROR_SUCCESS) return status;
  if (mkdirat(folder_.Get(), kNewFolder, 0700) != 0) return FromErrno();
  std::unique_ptr<Key> made;
  {
    UniqueFd folder(openat(folder_.Get(), kNewFolder, kFolderFlags));
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

LSTATUS Key::DeleteSubkey(std::u16string_view name) {
  std::scoped_lock own(mutex_);
  HiveLock lock;
  if (LSTATUS status = lock.Acquire(*hive_, HiveLock::Mode::kWrite); status != ERROR_SUCCESS) return status;
  std::unique_ptr<Key> subkey;
  if (LSTATUS status = FindSettled(name, KEY_ALL_ACCESS, &subkey); status != ERROR_SUCCESS) return status;
  if (HasSubkeys(subkey->Folder())) return ERROR_ACCESS_DENIED;
  std::uint64_t before = Changes();
  if (LSTATUS status = CountChange(); status != ERROR_SUCCESS) return status;
  if (unlinkat(subkey->Folder(), kKeyFile, 0) != 0) return FromErrno();
  RemoveFolder(folder_.Get(), subkey->place_.c_str());
  Follow(before, Entry::kSubkey, name, false);
  return ERROR_SUCCESS;
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
    status = WriteValue(Folder(), old.Name(), type, data, true);
    const bool moved = status == ERROR_SUCCESS && old.FileName() != ValueFileName(name);
    if (moved) unlinkat(Folder(), old.FileName().c_str(), 0);  // from its former name
    return status;
  }
  if (status != ERROR_FILE_NOT_FOUND) return status;
  if ((status = MakeRoomForValue(Folder(), name)) != ERROR_SUCCESS) return status;
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
  if (LSTATUS status = RemoveValue(folder_.Get(), name); status != ERROR_SUCCESS) return status;
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
  LSTATUS status = lock.Acquire(*hive_, HiveLock::Mode::kRead);
  if (status != ERROR_SUCCESS && status != ERROR_SEM_TIMEOUT) return status;
  listing->reset();
  auto made = std::make_unique<Listing>();
  // Without the lock the names are those of this moment, good for one call: a change may be counted and not yet made.
  made->changes = status == ERROR_SUCCESS ? Changes() : kNeverCounted;
  FolderWalk walk = WalkFolder(folder_.Get());
  if (!walk) return FromErrno();
  std::u16string name;
  while (const dirent* entry = readdir(walk.get())) {
    if (!ReadEntryName(folder_.Get(), *entry, kind, &name)) continue;
    if (kind == Entry::kValue || !name.empty()) made->names.push_back(name);
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

}  // namespace uab
