#include "profiles/undo_contents.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string_view>

#include "platform/registry.h"
#include "platform/system_calls.h"

namespace uab {
namespace {

constexpr LSTATUS kSuccess = static_cast<LSTATUS>(ERROR_SUCCESS);
constexpr LSTATUS kNotFound = static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND);
constexpr LSTATUS kNoMoreItems = static_cast<LSTATUS>(ERROR_NO_MORE_ITEMS);

using Bytes = std::vector<BYTE>;
using Text = std::basic_string<WCHAR>;
using Names = std::set<Text>;

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

// Whether a record can hold it: names of keys, each as long as those that are read, between backslashes.
bool IsKeyPath(std::basic_string_view<WCHAR> path) noexcept {
  for (;;) {
    const std::size_t end = std::min(path.find(UAB_TEXT('\\')), path.size());
    if (end == 0 || end >= kKeyNameCapacity) return false;
    if (end == path.size()) return true;
    path.remove_prefix(end + 1);
  }
}

bool HoldsValue(HKEY key, const RecordedValue& value) {
  DWORD type = 0;
  Bytes data;
  return Succeeded(ReadData(key, value.name.c_str(), type, data)) && type == value.type &&
         std::equal(data.begin(), data.end(), value.data.begin(), value.data.end());
}

// Where there is no room beside the new data, the old data takes its place.
HRESULT SetBack(HKEY root, const UndoContents& contents, const RecordedValue& value) {
  const Text path = value.subkey.empty() ? contents.path : contents.path + UAB_TEXT("\\") + value.subkey;
  const WCHAR* name = value.name.c_str();
  UniqueKey key;
  if (HRESULT hr = CreateKey(root, path.c_str(), &key, nullptr); Failed(hr)) return hr;
  if (HoldsValue(key.Get(), value) || Succeeded(SetValue(key.Get(), name, value.type, value.data))) return S_OK;
  (void)DeleteValue(key.Get(), name);
  return SetValue(key.Get(), name, value.type, value.data);
}

using Enumerate = LSTATUS (*)(HKEY, DWORD, WCHAR*, DWORD) noexcept;
using Remove = HRESULT (*)(HKEY, const WCHAR*) noexcept;

// Removes the values or subkeys of a key that are not among the names.
HRESULT RemoveOthers(HKEY key, const Names& names, Enumerate enumerate, Remove remove) {
  WCHAR name[kKeyNameCapacity];
  HRESULT result = S_OK;
  for (DWORD index = 0;;) {
    LSTATUS status = enumerate(key, index, name, kKeyNameCapacity);
    if (status == kNoMoreItems) return result;
    if (status != kSuccess) return E_FAIL;
    const bool stays = names.count(name) != 0;
    if (!stays && Succeeded(remove(key, name))) continue;
    if (!stays) result = E_FAIL;
    ++index;
  }
}

// What came new goes first, which makes room.
HRESULT RemoveNew(HKEY key, const UndoContents& contents) {
  Names subkeys;
  std::map<Text, Names> values;
  values[Text()];
  for (const RecordedValue& value : contents.values) {
    subkeys.insert(value.subkey);
    values[value.subkey].insert(value.name);
  }
  HRESULT result = S_OK;
  if (contents.remedy == Remedy::kTree) result = RemoveOthers(key, subkeys, &EnumSubkey, &DeleteWholeKey);
  for (const auto& [subkey_name, names] : values) {
    UniqueKey subkey;
    if (!subkey_name.empty() && Failed(OpenKey(key, subkey_name.c_str(), KEY_ALL_ACCESS, &subkey))) continue;
    HRESULT hr = RemoveOthers(subkey ? subkey.Get() : key, names, &EnumValueName, &DeleteValue);
    if (Failed(hr)) result = hr;
  }
  return result;
}

}  // namespace

HRESULT ReadData(HKEY key, const WCHAR* name, DWORD& type, Bytes& data) {
  DWORD size = 0;
  if (Sys().reg_query_value(key, name, nullptr, &type, nullptr, &size) != kSuccess) return E_FAIL;
  data.resize(size);
  if (Sys().reg_query_value(key, name, nullptr, &type, data.data(), &size) != kSuccess) return E_FAIL;
  data.resize(size);
  return S_OK;
}

HRESULT RemoveKey(HKEY root, const WCHAR* path) noexcept {
  UniqueKey key;
  if (Sys().reg_open_key(root, path, 0, KEY_READ, key.Put()) == kNotFound) return S_OK;
  key.Reset();
  return DeleteWholeKey(root, path);
}

HRESULT MakeUndoContents(HKEY root, const Text& path, Remedy remedy, Bytes& record) {
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

std::optional<UndoContents> ReadUndoContents(std::span<const BYTE> record) {
  RecordReader reader(record);
  std::optional<Text> path = reader.TakeText();
  std::optional<ULONG> remedy = reader.TakeNumber();
  if (!path || !IsKeyPath(*path) || !remedy || *remedy > static_cast<ULONG>(Remedy::kTree)) return std::nullopt;
  UndoContents contents = {*path, static_cast<Remedy>(*remedy), {}};
  while (!reader.at_end()) {
    std::optional<Text> subkey = reader.TakeText(), name = reader.TakeText();
    std::optional<ULONG> type = reader.TakeNumber(), size = reader.TakeNumber();
    auto data = size ? reader.Take(*size) : std::nullopt;
    if (!subkey || !name || !type || !data || name->size() >= kKeyNameCapacity) return std::nullopt;
    if (!subkey->empty() && !IsKeyPath(*subkey)) return std::nullopt;
    contents.values.push_back({*subkey, *name, *type, *data});
  }
  return contents;
}

HRESULT GiveBack(HKEY root, const UndoContents& contents) {
  if (contents.remedy == Remedy::kRemove) return RemoveKey(root, contents.path.c_str());
  const Text profile_name = contents.path.substr(0, contents.path.find(UAB_TEXT('\\')));
  UniqueKey profile, key;
  LSTATUS status = Sys().reg_open_key(root, profile_name.c_str(), 0, KEY_READ, profile.Put());
  if (status != kSuccess) return status == kNotFound ? S_OK : E_FAIL;
  if (HRESULT hr = CreateKey(root, contents.path.c_str(), &key, nullptr); Failed(hr)) return hr;
  HRESULT result = RemoveNew(key.Get(), contents);
  for (const RecordedValue& value : contents.values) {
    if (HRESULT hr = SetBack(root, contents, value); Failed(hr)) result = hr;
  }
  return result;
}

bool HoldsAll(HKEY root, const UndoContents& contents) {
  for (const RecordedValue& value : contents.values) {
    const Text path = value.subkey.empty() ? contents.path : contents.path + UAB_TEXT("\\") + value.subkey;
    UniqueKey key;
    if (Failed(OpenKey(root, path.c_str(), KEY_READ, &key)) || !HoldsValue(key.Get(), value)) return false;
  }
  return true;
}

bool IsWithin(const Text& path, const Text& key) noexcept {
  return path.compare(0, key.size(), key) == 0 && (path.size() == key.size() || path[key.size()] == '\\');
}

bool Touches(const UndoContents& contents, const Text& path) noexcept {
  return contents.remedy == Remedy::kValues ? path == contents.path : IsWithin(path, contents.path);
}

}  // namespace uab
