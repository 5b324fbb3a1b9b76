#include <map>
#include <unordered_map>

#include "fuzz/registry.h"
#include "platform/posix/registry_key.h"
#include "platform/posix/registry_name.h"

namespace uab::fuzz {
namespace {

struct NameOrder {
  using is_transparent = void;
  bool operator()(std::u16string_view a, std::u16string_view b) const noexcept { return NameLess(a, b); }
};
struct Value {
  DWORD type;
  std::string data;
};
struct Node {
  bool deleted = false;
  std::map<std::u16string, std::shared_ptr<Node>, NameOrder> subkeys;
  std::map<std::u16string, Value, NameOrder> values;
};
using NodePtr = std::shared_ptr<Node>;

// What RegCloseKey takes, which is no call of Sys(): an object of the stand-in's own class, otherwise unused. One that
// nobody closes is found as a leak.
struct Handle {
  NodePtr node;
  bool writes;
};
// One that nobody holds: letting go of it closes no file.
const auto kNoMutex = reinterpret_cast<UserMutexHandle>(std::intptr_t{-1});
NodePtr root;
std::unordered_map<HKEY, Handle> handles;

LSTATUS Find(HKEY key, bool writes, NodePtr* node) {
  if (key == HKEY_CURRENT_USER) return *node = root, ERROR_SUCCESS;
  auto found = handles.find(key);
  if (found == handles.end()) return ERROR_INVALID_HANDLE;
  if (found->second.node->deleted) return ERROR_KEY_DELETED;
  if (writes && !found->second.writes) return ERROR_ACCESS_DENIED;
  return *node = found->second.node, ERROR_SUCCESS;
}

LSTATUS Walk(HKEY key, const WCHAR* path, bool create, NodePtr* node, bool* created) {
  std::vector<std::u16string_view> parts;
  if (LSTATUS status = SplitKeyPath(path, &parts); status != ERROR_SUCCESS) return status;
  if (LSTATUS status = Find(key, false, node); status != ERROR_SUCCESS) return status;
  for (std::u16string_view part : parts) {
    auto below = (*node)->subkeys.find(part);
    *created = below == (*node)->subkeys.end();
    if (*created && !create) return ERROR_FILE_NOT_FOUND;
    if (*created) below = (*node)->subkeys.emplace(part, std::make_shared<Node>()).first;
    *node = NodePtr(below->second);
  }
  return ERROR_SUCCESS;
}

LSTATUS Open(HKEY key, const WCHAR* path, bool create, REGSAM access, HKEY* result, bool* created) {
  NodePtr node;
  if (LSTATUS status = Walk(key, path, create, &node, created); status != ERROR_SUCCESS) return status;
  *result = reinterpret_cast<HKEY>(new Key);
  handles.insert_or_assign(*result, Handle{node, access != KEY_READ});
  return ERROR_SUCCESS;
}

template <typename Items>
LSTATUS StoreName(const Items& items, DWORD index, WCHAR* name, DWORD* chars, typename Items::const_iterator* found) {
  if (index >= items.size()) return ERROR_NO_MORE_ITEMS;
  *found = std::next(items.begin(), index);
  const std::u16string& from = (*found)->first;
  if (from.size() >= *chars) return ERROR_MORE_DATA;
  from.copy(name, from.size());
  name[from.size()] = 0;
  *chars = static_cast<DWORD>(from.size());
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
  NodePtr node;
  if (LSTATUS status = Find(key, false, &node); status != ERROR_SUCCESS) return status;
  decltype(node->subkeys)::const_iterator found;
  return StoreName(node->subkeys, index, name, chars, &found);
}

LSTATUS EnumValue(HKEY key, DWORD index, WCHAR* name, DWORD* chars, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
  NodePtr node;
  if (LSTATUS status = Find(key, false, &node); status != ERROR_SUCCESS) return status;
  decltype(node->values)::const_iterator found;
  LSTATUS status = StoreName(node->values, index, name, chars, &found);
  return status == ERROR_SUCCESS ? StoreData(found->second, type, data, size) : status;
}

LSTATUS QueryValue(HKEY key, const WCHAR* name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
  NodePtr node;
  if (LSTATUS status = Find(key, false, &node); status != ERROR_SUCCESS) return status;
  auto found = node->values.find(std::u16string_view(name));
  return found == node->values.end() ? ERROR_FILE_NOT_FOUND : StoreData(found->second, type, data, size);
}

LSTATUS SetValue(HKEY key, const WCHAR* name, DWORD, DWORD type, const BYTE* data, DWORD size) {
  NodePtr node;
  if (LSTATUS status = Find(key, true, &node); status != ERROR_SUCCESS) return status;
  Value value{type, std::string(reinterpret_cast<const char*>(data), size)};
  auto found = node->values.find(std::u16string_view(name));
  if (found != node->values.end()) return found->second = std::move(value), ERROR_SUCCESS;
  node->values.emplace(name, std::move(value));
  return ERROR_SUCCESS;
}

LSTATUS DeleteKey(HKEY key, const WCHAR* path) {
  std::u16string_view whole(path);
  const std::size_t last = whole.rfind(u'\\') + 1;  // 0: one part only
  NodePtr above;
  bool created = false;
  LSTATUS status = Walk(key, std::u16string(whole.substr(0, last)).c_str(), false, &above, &created);
  if (status != ERROR_SUCCESS) return status;
  auto found = above->subkeys.find(whole.substr(last));
  if (found == above->subkeys.end()) return ERROR_FILE_NOT_FOUND;
  if (!found->second->subkeys.empty()) return ERROR_ACCESS_DENIED;
  found->second->deleted = true;
  above->subkeys.erase(found);
  return ERROR_SUCCESS;
}

LSTATUS DeleteValue(HKEY key, const WCHAR* name) {
  NodePtr node;
  if (LSTATUS status = Find(key, true, &node); status != ERROR_SUCCESS) return status;
  auto found = node->values.find(std::u16string_view(name));
  if (found == node->values.end()) return ERROR_FILE_NOT_FOUND;
  node->values.erase(found);
  return ERROR_SUCCESS;
}

}  // namespace

struct Registry::State {};

Registry::Registry() {
  root = std::make_shared<Node>();
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
}

Registry::~Registry() {
  Sys() = before_;
  handles.clear();
  root.reset();
}

}  // namespace uab::fuzz
