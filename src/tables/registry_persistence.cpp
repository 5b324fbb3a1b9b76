#include "tables/registry_persistence.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "keluab/tags.h"
#include "platform/at_boundary.h"
#include "platform/registry.h"
#include "platform/system_calls.h"

namespace uab {
namespace {

using KeyName = ServiceKeyName;
using Name = std::basic_string<WCHAR>;
using Names = std::set<Name>;

constexpr LSTATUS kSuccess = static_cast<LSTATUS>(ERROR_SUCCESS);
constexpr LSTATUS kNoMoreItems = static_cast<LSTATUS>(ERROR_NO_MORE_ITEMS);

void FormatTag(ULONG tag, KeyName& name) noexcept {
  WCHAR digits[10];
  std::size_t count = 0;
  do {
    digits[count++] = static_cast<WCHAR>('0' + tag % 10);
    tag /= 10;
  } while (tag != 0);
  *std::reverse_copy(digits, digits + count, name) = 0;
}

HRESULT NameServiceKey(const TableRow& row, KeyName& name) noexcept {
  const PropRecord* record = row.Find(PR_SERVICE_UID);
  return record != nullptr ? FormatServiceKeyName(RecordBytes(*record), name) : MAPI_E_MISSING_REQUIRED_COLUMN;
}

// Reads a value into a new node; node stays empty when the value is no record.
HRESULT ReadValue(HKEY key, const WCHAR* name, PropNodePtr& node) noexcept {
  DWORD size = 0;
  LSTATUS status = Sys().reg_query_value(key, name, nullptr, nullptr, nullptr, &size);
  if (status != kSuccess || size == 0) return E_FAIL;
  PropNodePtr read;
  if (HRESULT hr = MakeEmptyNode(size, read); Failed(hr)) return hr;
  status = Sys().reg_query_value(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&read->record), &size);
  if (status != kSuccess) return E_FAIL;
  if (CheckRecord(read->record, size)) node = std::move(read);
  return S_OK;
}

HRESULT LoadValues(PropList& list, HKEY key) noexcept {
  KeyName name;
  for (DWORD index = 0;; ++index) {
    LSTATUS status = EnumValueName(key, index, name, kKeyNameCapacity);
    if (status == kNoMoreItems) return S_OK;
    if (status != kSuccess) return E_FAIL;
    PropNodePtr node;
    if (HRESULT hr = ReadValue(key, name, node); Failed(hr)) return hr;
    if (node == nullptr) continue;
    if (HRESULT hr = list.Insert(std::move(node)); Failed(hr)) return hr;
  }
}

HRESULT SaveRecord(const PropRecord& record, HKEY key) noexcept {
  KeyName name;
  FormatTag(record.tag(), name);
  return SetValue(key, name, REG_BINARY, record.bytes());
}

// The names of all subkeys or values of a key, in order. Throws std::bad_alloc.
HRESULT ListNames(HKEY key, LSTATUS (*enumerate)(HKEY, DWORD, WCHAR*, DWORD) noexcept, std::vector<Name>& names) {
  KeyName name;
  for (DWORD index = 0;; ++index) {
    LSTATUS status = enumerate(key, index, name, kKeyNameCapacity);
    if (status == kNoMoreItems) return S_OK;
    if (status != kSuccess) return E_FAIL;
    names.emplace_back(name);
  }
}

// Whether a name from the registry is one of our own, which are digits; the registry does not tell case apart.
bool Contains(const Names& own, Name name) {
  for (WCHAR& digit : name) {
    if (digit >= 'A' && digit <= 'F') digit = static_cast<WCHAR>(digit - 'A' + 'a');
  }
  return own.count(name) != 0;
}

// What becomes of a key's other records when properties have been written to it.
enum class OtherRecords {
  kKeep,    // those with the identifier of a property that was written go: what was written counts, whatever its type
  kDelete,  // all go
};

// The properties that have been written to a key.
class WrittenProps {
 public:
  void Add(ULONG tag) {
    KeyName name;
    FormatTag(tag, name);
    names_.emplace(name);
    ids_.insert(PropId(tag));
  }
  bool empty() const { return names_.empty(); }

  HRESULT DeleteOthers(HKEY key, OtherRecords others) const {
    std::vector<Name> found;
    if (HRESULT hr = ListNames(key, &EnumValueName, found); Failed(hr)) return hr;
    for (const Name& name : found) {
      if (Contains(names_, name)) continue;
      PropNodePtr node;
      if (HRESULT hr = ReadValue(key, name.c_str(), node); Failed(hr)) return hr;
      if (node == nullptr || (others == OtherRecords::kKeep && ids_.count(PropId(node->tag())) == 0)) continue;
      if (HRESULT hr = DeleteValue(key, name.c_str()); Failed(hr)) return hr;
    }
    return S_OK;
  }

 private:
  Names names_;
  std::set<ULONG> ids_;
};

HRESULT SaveRecords(const TableRow& row, HKEY key, OtherRecords others) {
  WrittenProps written;
  for (std::size_t i = 0; i < row.count(); ++i) {
    if (HRESULT hr = SaveRecord(row.record(i), key); Failed(hr)) return hr;
    written.Add(row.record(i).tag());
  }
  return written.DeleteOthers(key, others);
}

HRESULT SaveRowAs(HKEY profile_key, const TableRow& row, OtherRecords others) {
  KeyName name;
  if (HRESULT hr = NameServiceKey(row, name); Failed(hr)) return hr;
  UniqueKey key;
  bool existed = false;
  if (HRESULT hr = CreateKey(profile_key, name, &key, &existed); Failed(hr)) return hr;
  HRESULT hr = S_OK;
  if (existed) {
    KeyName buffer;
    hr = DeleteKeyTree(key.Get(), buffer);
  }
  if (Succeeded(hr)) hr = SaveRecords(row, key.Get(), others);
  if (Failed(hr) && !existed) {
    key.Reset();
    Sys().reg_delete_key(profile_key, name);  // as far as it can be undone
  }
  return hr;
}

}  // namespace

HRESULT FormatServiceKeyName(std::span<const BYTE> uid, ServiceKeyName& name) noexcept {
  // An empty name would be that of the profile's own key.
  if (uid.empty()) return MAPI_E_MISSING_REQUIRED_COLUMN;
  if (2 * uid.size() >= kKeyNameCapacity) return MAPI_E_STRING_TOO_LONG;
  constexpr char kDigits[] = "0123456789abcdef";
  WCHAR* next = name;
  for (BYTE byte : uid) {
    *next++ = static_cast<WCHAR>(kDigits[byte >> 4]);
    *next++ = static_cast<WCHAR>(kDigits[byte & 15]);
  }
  *next = 0;
  return S_OK;
}

HRESULT SaveList(const PropList& list, HKEY key) noexcept {
  return at_boundary([&]() -> HRESULT {
    WrittenProps written;
    for (const PropNodePtr& node : list.nodes()) {
      if (!node->dirty()) continue;
      if (HRESULT hr = SaveRecord(node->record, key); Failed(hr)) return hr;
      written.Add(node->tag());
    }
    return written.empty() ? S_OK : written.DeleteOthers(key, OtherRecords::kKeep);
  });
}

HRESULT LoadList(PropList& list, HKEY key) noexcept {
  HRESULT hr = LoadValues(list, key);
  if (Failed(hr)) list.Clear();
  return hr;
}

HRESULT SaveRow(HKEY profile_key, const TableRow& row) noexcept {
  return at_boundary([&] { return SaveRowAs(profile_key, row, OtherRecords::kKeep); });
}

HRESULT LoadTable(MemTable& table, HKEY profile_key) noexcept {
  KeyName name;
  for (DWORD index = 0;; ++index) {
    LSTATUS status = EnumSubkey(profile_key, index, name, kKeyNameCapacity);
    if (status == kNoMoreItems) return S_OK;
    if (status != kSuccess) return E_FAIL;
    UniqueKey key;
    if (HRESULT hr = OpenKey(profile_key, name, KEY_READ, &key); Failed(hr)) return hr;
    PropList list;
    if (HRESULT hr = LoadList(list, key.Get()); Failed(hr)) return hr;
    TableRow row;
    if (HRESULT hr = row.Pack(list); Failed(hr)) return hr;
    if (HRESULT hr = table.InsertRow(std::move(row), index); Failed(hr)) return hr;
  }
}

HRESULT SaveTable(MemTable& table, HKEY profile_key) noexcept {
  return at_boundary([&]() -> HRESULT {
    Names own;
    for (std::size_t i = 0; i < table.row_count(); ++i) {
      KeyName name;
      if (HRESULT hr = NameServiceKey(table.row(i), name); Failed(hr)) return hr;
      // What is in the subkey by now may be of another row with the same identifier.
      const OtherRecords others = own.emplace(name).second ? OtherRecords::kDelete : OtherRecords::kKeep;
      if (HRESULT hr = SaveRowAs(profile_key, table.row(i), others); Failed(hr)) return hr;
    }
    std::vector<Name> found;
    if (HRESULT hr = ListNames(profile_key, &EnumSubkey, found); Failed(hr)) return hr;
    for (const Name& name : found) {
      if (Contains(own, name)) continue;
      if (HRESULT hr = DeleteWholeKey(profile_key, name.c_str()); Failed(hr)) return hr;
    }
    return S_OK;
  });
}

HRESULT UpdateRowAndSave(MemTable& table, const SPropValue& key, ULONG count, const SPropValue* values,
                         HKEY profile_key) noexcept {
  const std::size_t found = table.FirstMatch(key);
  if (found == kNowhere || count == 0) return MAPI_E_NOT_FOUND;
  PropList list;
  if (HRESULT hr = table.row(found).Unpack(list); Failed(hr)) return hr;
  for (ULONG i = 0; i < count; ++i) {
    if (HRESULT hr = list.SetToStore(values[i]); Failed(hr)) return hr;
  }
  TableRow updated;
  if (HRESULT hr = updated.Pack(list); Failed(hr)) return hr;
  if (HRESULT hr = SaveRow(profile_key, updated); Failed(hr)) return hr;
  table.ReplaceRow(found, std::move(updated));
  return S_OK;
}

}  // namespace uab
