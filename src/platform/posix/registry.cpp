// The registry calls over the hive's keys: arguments, access and results as on Windows.
#include <algorithm>

#include "platform/posix/registry_key.h"
#include "platform/posix/registry_name.h"
#include "platform/posix/registry_value.h"
#include "platform/win32.h"

namespace uab {
namespace {

constexpr REGSAM kQueryValue = 0x1;
constexpr REGSAM kEnumerateSubkeys = 0x8;

template <typename Body>
LSTATUS Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {  // only allocations throw here
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

// The key behind a handle; for HKEY_CURRENT_USER the hive's root, looked up anew for each call.
class HandleKey : NonCopyable {
 public:
  LSTATUS Resolve(HKEY handle, bool create = false) {
    if (handle == nullptr) return ERROR_INVALID_HANDLE;
    if (handle == HKEY_CURRENT_USER) {
      LSTATUS status = Key::OpenRoot(create, &root_);
      key_ = root_.get();
      return status;
    }
    key_ = reinterpret_cast<Key*>(handle);
    return ERROR_SUCCESS;
  }
  Key* operator->() const noexcept { return key_; }
  Key& operator*() const noexcept { return *key_; }

 private:
  std::unique_ptr<Key> root_;
  Key* key_ = nullptr;
};

std::u16string_view ValueName(const WCHAR* name) {
  return name == nullptr ? std::u16string_view() : std::u16string_view(name);
}

HKEY HandOver(std::unique_ptr<Key> key) { return reinterpret_cast<HKEY>(key.release()); }

// Steps down to the key that the parts name; *key stays empty where there are none.
LSTATUS OpenParts(const Key& start, std::span<const std::u16string_view> parts, REGSAM access,
                  std::unique_ptr<Key>* key) {
  for (std::u16string_view part : parts) {
    std::unique_ptr<Key> next;
    LSTATUS status = (*key ? **key : start).OpenSubkey(part, access, &next);
    if (status != ERROR_SUCCESS) return status;
    *key = std::move(next);
  }
  return ERROR_SUCCESS;
}

// Copies a name with its terminator. ERROR_MORE_DATA: it does not fit.
LSTATUS StoreName(std::u16string_view from, WCHAR* name, DWORD* name_chars) {
  if (from.size() >= *name_chars) return ERROR_MORE_DATA;
  std::copy(from.begin(), from.end(), name);
  name[from.size()] = 0;
  *name_chars = static_cast<DWORD>(from.size());
  return ERROR_SUCCESS;
}

LSTATUS StoreData(const ValueReader& value, DWORD* type, BYTE* data, DWORD* size) {
  if (type != nullptr) *type = value.Type();
  if (size == nullptr) return ERROR_SUCCESS;
  DWORD capacity = *size;
  *size = value.Size();
  if (data == nullptr) return ERROR_SUCCESS;
  return capacity < value.Size() ? ERROR_MORE_DATA : value.Read(data);
}

}  // namespace

LSTATUS RegCreateKeyExW(HKEY key, const WCHAR* path, DWORD reserved, WCHAR*, DWORD, REGSAM access, SECURITY_ATTRIBUTES*,
                        HKEY* result, DWORD* disposition) {
  return Guarded([&]() -> LSTATUS {
    if (path == nullptr || result == nullptr || reserved != 0) return ERROR_INVALID_PARAMETER;
    std::vector<std::u16string_view> parts;
    if (LSTATUS status = SplitKeyPath(path, &parts); status != ERROR_SUCCESS) return status;
    HandleKey start;
    if (LSTATUS status = start.Resolve(key, true); status != ERROR_SUCCESS) return status;
    std::unique_ptr<Key> made;
    bool created = false;
    if (parts.empty()) {
      if (LSTATUS status = start->Reopen(access, &made); status != ERROR_SUCCESS) return status;
    }
    for (std::u16string_view part : parts) {
      std::unique_ptr<Key> next;
      LSTATUS status = (made ? *made : *start).CreateSubkey(part, access, &next, &created);
      if (status != ERROR_SUCCESS) return status;
      made = std::move(next);
    }
    *result = HandOver(std::move(made));
    if (disposition != nullptr) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
  });
}

LSTATUS RegOpenKeyExW(HKEY key, const WCHAR* path, DWORD, REGSAM access, HKEY* result) {
  return Guarded([&]() -> LSTATUS {
    if (result == nullptr) return ERROR_INVALID_PARAMETER;
    std::vector<std::u16string_view> parts;
    if (LSTATUS status = SplitKeyPath(path, &parts); status != ERROR_SUCCESS) return status;
    HandleKey start;
    if (LSTATUS status = start.Resolve(key, parts.empty()); status != ERROR_SUCCESS) return status;
    std::unique_ptr<Key> opened;
    LSTATUS status = parts.empty() ? start->Reopen(access, &opened) : OpenParts(*start, parts, access, &opened);
    if (status == ERROR_SUCCESS) *result = HandOver(std::move(opened));
    return status;
  });
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved, WCHAR*, DWORD*,
                      FILETIME*) {
  return Guarded([&]() -> LSTATUS {
    if (name == nullptr || name_chars == nullptr || reserved != nullptr) return ERROR_INVALID_PARAMETER;
    HandleKey target;
    LSTATUS status = target.Resolve(key);
    if (status == ERROR_FILE_NOT_FOUND) return ERROR_NO_MORE_ITEMS;  // no hive yet
    if (status != ERROR_SUCCESS) return status;
    if (!target->Allows(kEnumerateSubkeys)) return ERROR_ACCESS_DENIED;
    std::u16string found;
    if ((status = target->NameAt(Key::Entry::kSubkey, index, &found)) != ERROR_SUCCESS) return status;
    return StoreName(found, name, name_chars);
  });
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* size) {
  return Guarded([&]() -> LSTATUS {
    if (name == nullptr || name_chars == nullptr || reserved != nullptr || (data != nullptr && size == nullptr)) {
      return ERROR_INVALID_PARAMETER;
    }
    HandleKey target;
    LSTATUS status = target.Resolve(key);
    if (status == ERROR_FILE_NOT_FOUND) return ERROR_NO_MORE_ITEMS;  // no hive yet
    if (status != ERROR_SUCCESS) return status;
    if (!target->Allows(kQueryValue)) return ERROR_ACCESS_DENIED;
    std::u16string found;
    for (;;) {
      if ((status = target->NameAt(Key::Entry::kValue, index, &found)) != ERROR_SUCCESS) return status;
      if (type == nullptr && size == nullptr) return StoreName(found, name, name_chars);
      ValueReader value;
      status = value.Open(target->Folder(), found);
      if (status == ERROR_FILE_NOT_FOUND) continue;  // deleted since it was listed: the count has changed too
      if (status != ERROR_SUCCESS) return status;
      if ((status = StoreName(found, name, name_chars)) != ERROR_SUCCESS) return status;
      return StoreData(value, type, data, size);
    }
  });
}

LSTATUS RegQueryValueExW(HKEY key, const WCHAR* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) {
  return Guarded([&]() -> LSTATUS {
    if (reserved != nullptr || (data != nullptr && size == nullptr)) return ERROR_INVALID_PARAMETER;
    HandleKey target;
    if (LSTATUS status = target.Resolve(key); status != ERROR_SUCCESS) return status;
    if (!target->Allows(kQueryValue)) return ERROR_ACCESS_DENIED;
    if (LSTATUS status = target->CheckAlive(); status != ERROR_SUCCESS) return status;
    ValueReader value;
    if (LSTATUS status = value.Open(target->Folder(), ValueName(name)); status != ERROR_SUCCESS) return status;
    return StoreData(value, type, data, size);
  });
}

LSTATUS RegSetValueExW(HKEY key, const WCHAR* name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  return Guarded([&]() -> LSTATUS {
    if (reserved != 0 || (data == nullptr && size != 0)) return ERROR_INVALID_PARAMETER;
    if (ValueName(name).size() > kMaxValueName) return ERROR_INVALID_PARAMETER;
    HandleKey target;
    if (LSTATUS status = target.Resolve(key, true); status != ERROR_SUCCESS) return status;
    if (!target->Allows(kSetValue)) return ERROR_ACCESS_DENIED;
    return target->SetValue(ValueName(name), type, {data, size});
  });
}

LSTATUS RegDeleteKeyW(HKEY key, const WCHAR* path) {
  return Guarded([&]() -> LSTATUS {
    std::vector<std::u16string_view> parts;
    if (LSTATUS status = SplitKeyPath(path, &parts); status != ERROR_SUCCESS) return status;
    if (parts.empty()) return ERROR_INVALID_PARAMETER;
    HandleKey start;
    if (LSTATUS status = start.Resolve(key); status != ERROR_SUCCESS) return status;
    std::unique_ptr<Key> above;
    LSTATUS status = OpenParts(*start, std::span(parts).first(parts.size() - 1), KEY_ALL_ACCESS, &above);
    return status == ERROR_SUCCESS ? (above ? *above : *start).DeleteSubkey(parts.back()) : status;
  });
}

LSTATUS RegDeleteValueW(HKEY key, const WCHAR* name) {
  return Guarded([&]() -> LSTATUS {
    HandleKey target;
    if (LSTATUS status = target.Resolve(key); status != ERROR_SUCCESS) return status;
    if (!target->Allows(kSetValue)) return ERROR_ACCESS_DENIED;
    return target->DeleteValue(ValueName(name));
  });
}

LSTATUS RegCloseKey(HKEY key) {
  if (key == nullptr) return ERROR_INVALID_HANDLE;
  if (key != HKEY_CURRENT_USER) delete reinterpret_cast<Key*>(key);
  return ERROR_SUCCESS;
}

}  // namespace uab
