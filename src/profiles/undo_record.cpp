#include "profiles/undo_record.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/at_boundary.h"
#include "platform/registry.h"
#include "platform/system_calls.h"
#include "profiles/profile_store.h"

namespace uab {
namespace {

constexpr const WCHAR* kRecordValue = UAB_TEXT("Unfinished");
constexpr LSTATUS kSuccess = static_cast<LSTATUS>(ERROR_SUCCESS);
constexpr LSTATUS kNotFound = static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND);
constexpr LSTATUS kNoMoreItems = static_cast<LSTATUS>(ERROR_NO_MORE_ITEMS);

using Bytes = std::vector<BYTE>;
using Text = std::basic_string<WCHAR>;

// The profile root, to be written to.
HRESULT OpenRoot(const WCHAR* app_key, UniqueKey& root) noexcept {
  RegistryPath path;
  HRESULT hr = ProfileRootPath(app_key, path);
  return Succeeded(hr) ? OpenKey(HKEY_CURRENT_USER, path, KEY_ALL_ACCESS, &root) : hr;
}

void Put(Bytes& record, const void* data, std::size_t size) {
  const BYTE* bytes = static_cast<const BYTE*>(data);
  record.insert(record.end(), bytes, bytes + size);
}
void PutNumber(Bytes& record, ULONG number) { Put(record, &number, sizeof(number)); }
void PutText(Bytes& record, const WCHAR* text) {
  Put(record, text, (static_cast<std::size_t>(lstrlenW(text)) + 1) * sizeof(WCHAR));
}

// Reads a record from its front; what does not fit in it is none.
class RecordReader {
 public:
  explicit RecordReader(std::span<const BYTE> record) : rest_(record) {}

  bool at_end() const { return rest_.empty(); }
  std::optional<std::span<const BYTE>> Take(std::size_t size) {
    if (size > rest_.size()) return std::nullopt;
    std::span<const BYTE> taken = rest_.first(size);
    rest_ = rest_.subspan(size);
    return taken;
  }
  std::optional<ULONG> TakeNumber() {
    ULONG number = 0;
    auto bytes = Take(sizeof(number));
    if (!bytes) return std::nullopt;
    std::memcpy(&number, bytes->data(), sizeof(number));
    return number;
  }
  std::optional<Text> TakeText() {
    Text text;
    while (auto bytes = Take(sizeof(WCHAR))) {
      WCHAR unit = 0;
      std::memcpy(&unit, bytes->data(), sizeof(unit));
      if (unit == 0) return text;
      text.push_back(unit);
    }
    return std::nullopt;
  }

 private:
  std::span<const BYTE> rest_;
};

HRESULT ReadData(HKEY key, const WCHAR* name, DWORD& type, Bytes& data) {
  DWORD size = 0;
  if (Sys().reg_query_value(key, name, nullptr, &type, nullptr, &size) != kSuccess) return E_FAIL;
  data.resize(size);
  if (Sys().reg_query_value(key, name, nullptr, &type, data.data(), &size) != kSuccess) return E_FAIL;
  data.resize(size);
  return S_OK;
}

HRESULT PutValues(Bytes& record, HKEY key, const WCHAR* subkey_name) {
  WCHAR name[kKeyNameCapacity];
  for (DWORD index = 0;; ++index) {
    LSTATUS status = EnumValueName(key, index, name, kKeyNameCapacity);
    if (status == kNoMoreItems) return S_OK;
    if (status != kSuccess) return E_FAIL;
    DWORD type = 0;
    Bytes data;
    if (HRESULT hr = ReadData(key, name, type, data); Failed(hr)) return hr;
    PutText(record, subkey_name);
    PutText(record, name);
    PutNumber(record, type);
    PutNumber(record, static_cast<ULONG>(data.size()));
    Put(record, data.data(), data.size());
  }
}

HRESULT PutSubkeys(Bytes& record, HKEY key) {
  WCHAR name[kKeyNameCapacity];
  for (DWORD index = 0;; ++index) {
    LSTATUS status = EnumSubkey(key, index, name, kKeyNameCapacity);
    if (status == kNoMoreItems) return S_OK;
    UniqueKey subkey;
    if (status != kSuccess || Failed(OpenKey(key, name, KEY_READ, &subkey))) return E_FAIL;
    if (HRESULT hr = PutValues(record, subkey.Get(), name); Failed(hr)) return hr;
  }
}

HRESULT DeleteValues(HKEY key) {
  WCHAR name[kKeyNameCapacity];
  for (;;) {
    LSTATUS status = EnumValueName(key, 0, name, kKeyNameCapacity);
    if (status == kNoMoreItems) return S_OK;
    if (status != kSuccess || Failed(DeleteValue(key, name))) return E_FAIL;
  }
}

HRESULT RemoveKey(HKEY root, const WCHAR* path) {
  UniqueKey key;
  if (Sys().reg_open_key(root, path, 0, KEY_READ, key.Put()) == kNotFound) return S_OK;
  key.Reset();
  return DeleteWholeKey(root, path);
}

// Whether a record can hold it: names of keys, each as long as those that are read, between backslashes.
bool IsKeyPath(std::basic_string_view<WCHAR> path) noexcept {
  for (;;) {
    const std::size_t end = std::min(path.find(UAB_TEXT('\\')), path.size());
    if (end == 0 || end >= kKeyNameCapacity) return false;
    if (end == path.size()) return true;
    path.remove_prefix(end + 1);
  }
}

// E_INVALIDARG: the rest is no list of values; those before are set.
HRESULT SetRecordedValues(HKEY key, RecordReader& reader) {
  while (!reader.at_end()) {
    std::optional<Text> subkey_name = reader.TakeText(), name = reader.TakeText();
    std::optional<ULONG> type = reader.TakeNumber(), size = reader.TakeNumber();
    auto data = size ? reader.Take(*size) : std::nullopt;
    if (!subkey_name || !name || !type || !data || name->size() >= kKeyNameCapacity) return E_INVALIDARG;
    if (!subkey_name->empty() && !IsKeyPath(*subkey_name)) return E_INVALIDARG;
    UniqueKey subkey;
    if (!subkey_name->empty()) {
      if (HRESULT hr = CreateKey(key, subkey_name->c_str(), &subkey, nullptr); Failed(hr)) return hr;
    }
    if (HRESULT hr = SetValue(subkey ? subkey.Get() : key, name->c_str(), *type, *data); Failed(hr)) return hr;
  }
  return S_OK;
}

// E_INVALIDARG: no record.
HRESULT Apply(HKEY root, std::span<const BYTE> record) {
  RecordReader reader(record);
  std::optional<Text> path = reader.TakeText();
  std::optional<ULONG> remedy = reader.TakeNumber();
  if (!path || !IsKeyPath(*path) || !remedy || *remedy > static_cast<ULONG>(Remedy::kTree)) return E_INVALIDARG;
  if (*remedy == static_cast<ULONG>(Remedy::kRemove)) return RemoveKey(root, path->c_str());
  UniqueKey key;
  if (HRESULT hr = CreateKey(root, path->c_str(), &key, nullptr); Failed(hr)) return hr;
  if (*remedy == static_cast<ULONG>(Remedy::kTree)) {
    WCHAR name[kKeyNameCapacity];
    if (Failed(DeleteKeyTree(key.Get(), name))) return E_FAIL;
  }
  if (HRESULT hr = DeleteValues(key.Get()); Failed(hr)) return hr;
  return SetRecordedValues(key.Get(), reader);
}

HRESULT MakeRecord(HKEY root, const Text& path, Remedy remedy, Bytes& record) {
  UniqueKey key;
  if (remedy != Remedy::kRemove) {
    LSTATUS status = Sys().reg_open_key(root, path.c_str(), 0, KEY_READ, key.Put());
    if (status != kSuccess && status != kNotFound) return E_FAIL;
    if (!key) remedy = Remedy::kRemove;
  }
  PutText(record, path.c_str());
  PutNumber(record, static_cast<ULONG>(remedy));
  if (key) {
    if (HRESULT hr = PutValues(record, key.Get(), UAB_TEXT("")); Failed(hr)) return hr;
  }
  return remedy == Remedy::kTree ? PutSubkeys(record, key.Get()) : S_OK;
}

}  // namespace

HRESULT WriteUndoRecord(const WCHAR* app_key, const Text& path, Remedy remedy) {
  RegistryPath root_path;
  if (HRESULT hr = ProfileRootPath(app_key, root_path); Failed(hr)) return hr;
  UniqueKey root;
  if (HRESULT hr = CreateKey(HKEY_CURRENT_USER, root_path, &root, nullptr); Failed(hr)) return hr;
  Bytes record;
  if (HRESULT hr = MakeRecord(root.Get(), path, remedy, record); Failed(hr)) return hr;
  return SetValue(root.Get(), kRecordValue, REG_BINARY, record);
}

HRESULT ApplyUndoRecord(const WCHAR* app_key) noexcept {
  return at_boundary([&]() -> HRESULT {
    RegistryPath root_path;
    if (HRESULT hr = ProfileRootPath(app_key, root_path); Failed(hr)) return hr;
    UniqueKey root;
    LSTATUS status = Sys().reg_open_key(HKEY_CURRENT_USER, root_path, 0, KEY_READ, root.Put());
    if (status != kSuccess) return status == kNotFound ? S_OK : E_FAIL;
    DWORD type = 0, size = 0;
    status = Sys().reg_query_value(root.Get(), kRecordValue, nullptr, nullptr, nullptr, &size);
    if (status != kSuccess) return status == kNotFound ? S_OK : E_FAIL;
    Bytes record;
    if (HRESULT hr = ReadData(root.Get(), kRecordValue, type, record); Failed(hr)) return hr;
    if (HRESULT hr = OpenRoot(app_key, root); Failed(hr)) return hr;
    HRESULT hr = Apply(root.Get(), record);
    if (Failed(hr) && hr != E_INVALIDARG) return hr;
    return DeleteValue(root.Get(), kRecordValue);
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

HRESULT Undo(const WCHAR* app_key, const Text& path, Remedy remedy) noexcept {
  if (remedy != Remedy::kRemove) return ApplyUndoRecord(app_key);
  UniqueKey root;
  HRESULT hr = OpenRoot(app_key, root);
  if (Succeeded(hr)) hr = RemoveKey(root.Get(), path.c_str());
  return Succeeded(hr) ? DeleteValue(root.Get(), kRecordValue) : hr;
}

}  // namespace uab
