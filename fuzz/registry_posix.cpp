#include <algorithm>
#include <deque>
#include <optional>
#include <unordered_map>
#include <vector>

#include "fuzz/registry.h"
#include "platform/posix/fold_case.h"
#include "platform/posix/registry_key.h"
#include "platform/posix/registry_name.h"

namespace uab::fuzz {
namespace {

// Kept small, for most of a run's time goes by here: flat sorted arrays, and names with their upper case form, by which
// they are found and sorted. Names and values are never changed but replaced, so that a copy shares them.
struct Name {
  std::u16string folded, shown;
};
struct Value {
  DWORD type;
  std::string data;
};
template <typename T>
using Items = std::vector<std::pair<std::shared_ptr<const Name>, T>>;
struct Node {
  bool deleted = false;
  Items<Node*> subkeys;
  Items<std::shared_ptr<const Value>> values;
};

// What RegCloseKey takes, which is no call of Sys(): an object of the stand-in's own class, otherwise unused. One that
// nobody closes is found as a leak.
struct Handle {
  Node* node;
  bool writes;
};
// One that nobody holds: letting go of it closes no file.
const auto kNoMutex = reinterpret_cast<UserMutexHandle>(std::intptr_t{-1});
std::deque<Node> nodes;  // of one run, the root first; deleted ones stay, for there may be handles of them
std::unordered_map<HKEY, Handle> handles;
std::optional<std::deque<Node>> filled;  // what runs begin with, once a first one has made it
ULONG filled_guids = 0;

// Borrows, until the next call.
std::u16string_view Folded(std::u16string_view name) {
  static std::u16string folded;
  folded.assign(name);
  for (char16_t& unit : folded) {
    if (unit >= u'a') unit = unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit < 0x80 ? unit : FoldCase(unit);
  }
  return folded;
}

// Not the strings' own, which the engine watches.
int Compare(std::u16string_view a, std::u16string_view b) {
  const char16_t *x = a.data(), *y = b.data();
  for (std::size_t left = std::min(a.size(), b.size()); left > 0; --left, ++x, ++y) {
    if (*x != *y) return *x < *y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

template <typename T>
auto PlaceOf(Items<T>& items, std::u16string_view folded) {
  return std::lower_bound(items.begin(), items.end(), folded, [](const auto& item, std::u16string_view than) {
    return Compare(item.first->folded, than) < 0;
  });
}
template <typename T>
bool Holds(const Items<T>& items, typename Items<T>::iterator place, std::u16string_view folded) {
  return place != items.end() && Compare(place->first->folded, folded) == 0;
}
std::shared_ptr<const Name> MakeName(std::u16string_view folded, std::u16string_view shown) {
  return std::make_shared<const Name>(Name{std::u16string(folded), std::u16string(shown)});
}

Node* Copy(const Node& from) {
  Node& node = nodes.emplace_back();
  node.subkeys = from.subkeys;
  node.values = from.values;
  for (auto& subkey : node.subkeys) subkey.second = Copy(*subkey.second);
  return &node;
}

LSTATUS Find(HKEY key, bool writes, Node** node) {
  if (key == HKEY_CURRENT_USER) return *node = &nodes.front(), ERROR_SUCCESS;
  auto found = handles.find(key);
  if (found == handles.end()) return ERROR_INVALID_HANDLE;
  if (found->second.node->deleted) return ERROR_KEY_DELETED;
  if (writes && !found->second.writes) return ERROR_ACCESS_DENIED;
  return *node = found->second.node, ERROR_SUCCESS;
}

LSTATUS Walk(HKEY key, std::u16string_view path, bool create, Node** node, bool* created) {
  if (path.starts_with(u'\\')) return ERROR_BAD_PATHNAME;
  if (LSTATUS status = Find(key, false, node); status != ERROR_SUCCESS) return status;
  for (std::size_t start = 0, end; start < path.size(); start = end + 1) {
    end = std::min(path.find(u'\\', start), path.size());
    if (end == start) continue;
    const std::u16string_view part = path.substr(start, end - start), folded = Folded(part);
    if (part.size() > kMaxKeyName) return ERROR_INVALID_PARAMETER;
    auto below = PlaceOf((*node)->subkeys, folded);
    *created = !Holds((*node)->subkeys, below, folded);
    if (*created && !create) return ERROR_FILE_NOT_FOUND;
    if (*created) below = (*node)->subkeys.emplace(below, MakeName(folded, part), &nodes.emplace_back());
    *node = below->second;
  }
  return ERROR_SUCCESS;
}

LSTATUS Open(HKEY key, const WCHAR* path, bool create, REGSAM access, HKEY* result, bool* created) {
  Node* node = nullptr;
  if (LSTATUS status = Walk(key, path == nullptr ? u"" : path, create, &node, created); status != ERROR_SUCCESS) {
    return status;
  }
  *result = reinterpret_cast<HKEY>(new Key);
  handles.insert_or_assign(*result, Handle{node, access != KEY_READ});
  return ERROR_SUCCESS;
}

LSTATUS StoreName(const Name& from, WCHAR* name, DWORD* chars) {
  if (from.shown.size() >= *chars) return ERROR_MORE_DATA;
  from.shown.copy(name, from.shown.size());
  name[from.shown.size()] = 0;
  *chars = static_cast<DWORD>(from.shown.size());
  return ERROR_SUCCESS;
}

LSTATUS StoreData(const Value& value, DWORD* type, BYTE* data, DWORD* size) {
  if (type != nullptr) *type = value.type;
  if (size == nullptr) return ERROR_SUCCESS;
  const bool fits = data == nullptr || *size >= value.data.size();
  if (fits && data != nullptr) std::copy(value.data.begin(), value.data.end(), data);
  *size = static_cast<DWORD>(value.data.size());
  return fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

LSTATUS CreateKey(HKEY key, const WCHAR* path, DWORD, WCHAR*, DWORD, REGSAM access, SECURITY_ATTRIBUTES*, HKEY* result,
                  DWORD* disposition) {
  bool created = false;
  LSTATUS status = Open(key, path, true, access, result, &created);
  if (disposition != nullptr) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  return status;
}

LSTATUS OpenKey(HKEY key, const WCHAR* path, DWORD, REGSAM access, HKEY* result) {
  bool created = false;
  return Open(key, path, false, access, result, &created);
}

LSTATUS EnumKey(HKEY key, DWORD index, WCHAR* name, DWORD* chars, DWORD*, WCHAR*, DWORD*, FILETIME*) {
  Node* node = nullptr;
  if (LSTATUS status = Find(key, false, &node); status != ERROR_SUCCESS) return status;
  return index < node->subkeys.size() ? StoreName(*node->subkeys[index].first, name, chars) : ERROR_NO_MORE_ITEMS;
}

LSTATUS EnumValue(HKEY key, DWORD index, WCHAR* name, DWORD* chars, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
  Node* node = nullptr;
  if (LSTATUS status = Find(key, false, &node); status != ERROR_SUCCESS) return status;
  if (index >= node->values.size()) return ERROR_NO_MORE_ITEMS;
  const auto& [its_name, value] = node->values[index];
  LSTATUS status = StoreName(*its_name, name, chars);
  return status == ERROR_SUCCESS ? StoreData(*value, type, data, size) : status;
}

LSTATUS QueryValue(HKEY key, const WCHAR* name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
  Node* node = nullptr;
  if (LSTATUS status = Find(key, false, &node); status != ERROR_SUCCESS) return status;
  const std::u16string_view folded = Folded(name);
  auto place = PlaceOf(node->values, folded);
  return Holds(node->values, place, folded) ? StoreData(*place->second, type, data, size) : ERROR_FILE_NOT_FOUND;
}

LSTATUS SetValue(HKEY key, const WCHAR* name, DWORD, DWORD type, const BYTE* data, DWORD size) {
  Node* node = nullptr;
  if (LSTATUS status = Find(key, true, &node); status != ERROR_SUCCESS) return status;
  const std::u16string_view folded = Folded(name);
  auto value = std::make_shared<const Value>(Value{type, std::string(reinterpret_cast<const char*>(data), size)});
  auto place = PlaceOf(node->values, folded);
  if (Holds(node->values, place, folded)) return place->second = std::move(value), ERROR_SUCCESS;
  node->values.emplace(place, MakeName(folded, name), std::move(value));
  return ERROR_SUCCESS;
}

LSTATUS DeleteKey(HKEY key, const WCHAR* path) {
  const std::u16string_view whole(path);
  const std::size_t last = whole.rfind(u'\\') + 1;  // 0: one part only
  Node* above = nullptr;
  bool created = false;
  LSTATUS status = Walk(key, whole.substr(0, last), false, &above, &created);
  if (status != ERROR_SUCCESS) return status;
  const std::u16string_view folded = Folded(whole.substr(last));
  auto place = PlaceOf(above->subkeys, folded);
  if (!Holds(above->subkeys, place, folded)) return ERROR_FILE_NOT_FOUND;
  if (!place->second->subkeys.empty()) return ERROR_ACCESS_DENIED;
  place->second->deleted = true;
  above->subkeys.erase(place);
  return ERROR_SUCCESS;
}

LSTATUS DeleteValue(HKEY key, const WCHAR* name) {
  Node* node = nullptr;
  if (LSTATUS status = Find(key, true, &node); status != ERROR_SUCCESS) return status;
  const std::u16string_view folded = Folded(name);
  auto place = PlaceOf(node->values, folded);
  if (!Holds(node->values, place, folded)) return ERROR_FILE_NOT_FOUND;
  node->values.erase(place);
  return ERROR_SUCCESS;
}

}  // namespace

HMODULE AnyLibrary() { return LoadLibraryW(UAB_TEXT("")); }  // the program

struct Registry::State {};

Registry::Registry(void (*fill)()) {
  counted_guids = 0;
  SystemCalls& calls = Sys();
  calls.acquire_user_mutex = [](bool) { return kNoMutex; };
  calls.co_create_guid = &CountedGuid;
  calls.reg_create_key = &CreateKey;
  calls.reg_open_key = &OpenKey;
  calls.reg_enum_key = &EnumKey;
  calls.reg_enum_value = &EnumValue;
  calls.reg_query_value = &QueryValue;
  calls.reg_set_value = &SetValue;
  calls.reg_delete_key = &DeleteKey;
  calls.reg_delete_value = &DeleteValue;
  if (fill != nullptr && !filled) {
    nodes.emplace_back();
    fill();
    handles.clear();
    filled.emplace(std::exchange(nodes, {}));
    filled_guids = counted_guids;
  }
  counted_guids = filled_guids;
  Copy(filled ? filled->front() : Node());
}

Registry::~Registry() {
  Sys() = before_;
  handles.clear();
  nodes.clear();
}

}  // namespace uab::fuzz
