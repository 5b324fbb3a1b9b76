#include "profiles/undo_record.h"

#include <charconv>
#include <string_view>

#include "platform/at_boundary.h"
#include "platform/registry.h"
#include "platform/system_calls.h"
#include "profiles/profile_store.h"

namespace uab {
namespace {

constexpr const WCHAR* kRecordValue = UAB_TEXT("Unfinished");
constexpr const WCHAR* kBeforeNumber = UAB_TEXT("Unfinished ");  // of a record that is kept aside
constexpr LSTATUS kSuccess = static_cast<LSTATUS>(ERROR_SUCCESS);
constexpr LSTATUS kNotFound = static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND);

using Bytes = std::vector<BYTE>;
using Text = std::basic_string<WCHAR>;
using Texts = std::vector<Text>;

// A write that the registry has no room for: on the disk, in its own log, in the memory that the system gives it.
bool IsForWantOfRoom(LSTATUS status) noexcept {
  constexpr LSTATUS kNoLogSpace = 1019, kNoResources = 1450;
  return status == static_cast<LSTATUS>(ERROR_DISK_FULL) || status == kNoLogSpace || status == kNoResources;
}

LSTATUS OpenRootToRead(const WCHAR* app_key, UniqueKey& root) noexcept {
  RegistryPath path;
  if (Failed(ProfileRootPath(app_key, path))) return static_cast<LSTATUS>(ERROR_INVALID_PARAMETER);
  return Sys().reg_open_key(HKEY_CURRENT_USER, path, 0, KEY_READ, root.Put());
}

// The profile root, to be written to.
HRESULT OpenRoot(const WCHAR* app_key, UniqueKey& root) noexcept {
  RegistryPath path;
  HRESULT hr = ProfileRootPath(app_key, path);
  return Succeeded(hr) ? OpenKey(HKEY_CURRENT_USER, path, KEY_ALL_ACCESS, &root) : hr;
}

// The names of the records that are kept aside.
HRESULT ListKept(HKEY root, Texts& names) {
  WCHAR name[kKeyNameCapacity];
  for (DWORD index = 0;; ++index) {
    LSTATUS status = EnumValueName(root, index, name, kKeyNameCapacity);
    if (status == static_cast<LSTATUS>(ERROR_NO_MORE_ITEMS)) return S_OK;
    if (status == static_cast<LSTATUS>(ERROR_MORE_DATA)) continue;  // longer than any of ours
    if (status != kSuccess) return E_FAIL;
    if (std::basic_string_view<WCHAR>(name).starts_with(kBeforeNumber)) names.emplace_back(name);
  }
}

// The names of all records, that of the last change first.
HRESULT ListRecords(HKEY root, Texts& names) {
  DWORD size = 0;
  LSTATUS status = Sys().reg_query_value(root, kRecordValue, nullptr, nullptr, nullptr, &size);
  if (status != kSuccess && status != kNotFound) return E_FAIL;
  if (status == kSuccess) names.emplace_back(kRecordValue);
  return ListKept(root, names);
}

// Calls use(name, contents) for each record, until it fails. What is no record is passed over.
template <typename Use>
HRESULT ForEachRecord(HKEY root, const Texts& names, Use use) {
  for (const Text& name : names) {
    DWORD type = 0;
    Bytes record;
    if (HRESULT hr = ReadData(root, name.c_str(), type, record); Failed(hr)) return hr;
    const std::optional<UndoContents> contents = ReadUndoContents(record);
    if (!contents) continue;
    if (HRESULT hr = use(name, *contents); Failed(hr)) return hr;
  }
  return S_OK;
}

// Applies a record and deletes it. *stays: it can't be applied, and holds what the registry has not.
HRESULT Settle(HKEY root, const WCHAR* name, bool* stays) {
  DWORD type = 0;
  Bytes record;
  if (HRESULT hr = ReadData(root, name, type, record); Failed(hr)) return hr;
  const std::optional<UndoContents> contents = ReadUndoContents(record);
  *stays = contents && Failed(GiveBack(root, *contents)) && !HoldsAll(root, *contents);
  return *stays ? S_OK : DeleteValue(root, name);
}

// The first free name for a record that is kept aside.
HRESULT FreeName(HKEY root, Text& name) {
  for (int number = 1;; ++number) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    (name = kBeforeNumber).append(digits, end);
    DWORD size = 0;
    LSTATUS status = Sys().reg_query_value(root, name.c_str(), nullptr, nullptr, nullptr, &size);
    if (status == kNotFound) return S_OK;
    if (status != kSuccess) return E_FAIL;
  }
}

// Gives the record of the last change a name of its own. Of two of one key the older has what was there in the
// beginning.
HRESULT KeepAside(HKEY root) {
  DWORD type = 0;
  Bytes record;
  if (HRESULT hr = ReadData(root, kRecordValue, type, record); Failed(hr)) return hr;
  const std::optional<UndoContents> contents = ReadUndoContents(record);
  Texts kept;
  if (HRESULT hr = ListKept(root, kept); Failed(hr)) return hr;
  bool has_older = false;
  HRESULT hr = ForEachRecord(root, kept, [&](const Text&, const UndoContents& older) -> HRESULT {
    has_older |= contents && older.path == contents->path;
    return S_OK;
  });
  Text name;
  if (Succeeded(hr) && !has_older) hr = FreeName(root, name);
  if (Succeeded(hr) && !has_older) hr = SetValue(root, name.c_str(), REG_BINARY, record);
  return Succeeded(hr) ? DeleteValue(root, kRecordValue) : hr;
}

// Compares a change with the records that are there. *recorded: it needs one of its own, for which the name is free.
HRESULT CheckOlderRecords(HKEY root, const UndoContents& change, bool* recorded) {
  Texts names;
  if (HRESULT hr = ListRecords(root, names); Failed(hr)) return hr;
  *recorded = true;
  return ForEachRecord(root, names, [&](const Text& name, const UndoContents& older) -> HRESULT {
    const bool goes_too = change.remedy == Remedy::kRemove && IsWithin(older.path, change.path);
    const bool same = older.path == change.path;
    if (name == kRecordValue || (same && !goes_too)) *recorded = false;
    if (goes_too || same) return S_OK;
    return Touches(older, change.path) || Touches(change, older.path) ? E_FAIL : S_OK;
  });
}

}  // namespace

HRESULT WriteUndoRecord(const WCHAR* app_key, const Text& path, Remedy remedy, bool* recorded) {
  *recorded = false;
  RegistryPath root_path;
  if (HRESULT hr = ProfileRootPath(app_key, root_path); Failed(hr)) return hr;
  UniqueKey root;
  if (HRESULT hr = CreateKey(HKEY_CURRENT_USER, root_path, &root, nullptr); Failed(hr)) return hr;
  bool is_free = false;
  if (HRESULT hr = CheckOlderRecords(root.Get(), {path, remedy, {}}, &is_free); Failed(hr)) return hr;
  if (!is_free) return S_OK;
  Bytes record;
  if (HRESULT hr = MakeUndoContents(root.Get(), path, remedy, record); Failed(hr)) return hr;
  LSTATUS status =
      Sys().reg_set_value(root.Get(), kRecordValue, 0, REG_BINARY, record.data(), static_cast<DWORD>(record.size()));
  *recorded = status == kSuccess;
  return *recorded || IsForWantOfRoom(status) ? S_OK : E_FAIL;
}

HRESULT ApplyUndoRecord(const WCHAR* app_key) noexcept {
  return at_boundary([&]() -> HRESULT {
    RegistryPath root_path;
    if (HRESULT hr = ProfileRootPath(app_key, root_path); Failed(hr)) return hr;
    UniqueKey root;
    LSTATUS status = OpenRootToRead(app_key, root);
    if (status != kSuccess) return status == kNotFound ? S_OK : E_FAIL;
    DWORD size = 0;
    status = Sys().reg_query_value(root.Get(), kRecordValue, nullptr, nullptr, nullptr, &size);
    if (status != kSuccess) return status == kNotFound ? S_OK : E_FAIL;
    if (HRESULT hr = OpenRoot(app_key, root); Failed(hr)) return hr;
    bool stays = false;
    if (HRESULT hr = Settle(root.Get(), kRecordValue, &stays); Failed(hr)) return hr;
    // Where it can't be moved either, for want of room for instance, only deletions go on.
    if (stays && KeepAside(root.Get()) == E_OUTOFMEMORY) return E_OUTOFMEMORY;
    return S_OK;
  });
}

HRESULT ApplyUndoRecords(const WCHAR* app_key) noexcept {
  if (HRESULT hr = ApplyUndoRecord(app_key); Failed(hr)) return hr;
  return at_boundary([&]() -> HRESULT {
    UniqueKey root;
    LSTATUS status = OpenRootToRead(app_key, root);
    if (status != kSuccess) return status == kNotFound ? S_OK : E_FAIL;
    Texts kept;
    if (HRESULT hr = ListKept(root.Get(), kept); Failed(hr)) return hr;
    if (kept.empty()) return S_OK;
    if (HRESULT hr = OpenRoot(app_key, root); Failed(hr)) return hr;
    bool stays = false;
    for (const Text& name : kept) (void)Settle(root.Get(), name.c_str(), &stays);  // whose changes wait notice it
    return S_OK;
  });
}

// A second attempt, since a change that has been made and is undone again would be a pity.
HRESULT DeleteUndoRecord(const WCHAR* app_key) noexcept {
  HRESULT hr = E_FAIL;
  for (int attempt = 0; attempt < 2 && Failed(hr); ++attempt) {
    UniqueKey root;
    hr = OpenRoot(app_key, root);
    if (Succeeded(hr)) hr = DeleteValue(root.Get(), kRecordValue);
  }
  return hr;
}

HRESULT DropUndoRecords(const WCHAR* app_key, const Text& path) noexcept {
  return at_boundary([&]() -> HRESULT {
    UniqueKey root;
    if (HRESULT hr = OpenRoot(app_key, root); Failed(hr)) return hr;
    Texts names;
    if (HRESULT hr = ListRecords(root.Get(), names); Failed(hr)) return hr;
    return ForEachRecord(root.Get(), names, [&](const Text& name, const UndoContents& contents) -> HRESULT {
      return IsWithin(contents.path, path) ? DeleteValue(root.Get(), name.c_str()) : S_OK;
    });
  });
}

bool HasUndoRecords(const WCHAR* app_key, const Text& path) noexcept {
  bool found = false;
  HRESULT hr = at_boundary([&]() -> HRESULT {
    UniqueKey root;
    if (OpenRootToRead(app_key, root) != kSuccess) return E_FAIL;
    Texts names;
    if (HRESULT listed = ListRecords(root.Get(), names); Failed(listed)) return listed;
    return ForEachRecord(root.Get(), names, [&](const Text&, const UndoContents& contents) -> HRESULT {
      found |= IsWithin(contents.path, path);
      return S_OK;
    });
  });
  return found || Failed(hr);
}

HRESULT Undo(const WCHAR* app_key, const Text& path, Remedy remedy) noexcept {
  if (remedy != Remedy::kRemove) return ApplyUndoRecord(app_key);
  UniqueKey root;
  HRESULT hr = OpenRoot(app_key, root);
  if (Succeeded(hr)) hr = RemoveKey(root.Get(), path.c_str());
  return Succeeded(hr) ? DeleteValue(root.Get(), kRecordValue) : hr;
}

}  // namespace uab
