#include "platform/registry.h"

#include "platform/system_calls.h"
#include "platform/text_length.h"

namespace uab {

HRESULT OpenKey(HKEY parent, const WCHAR* path, REGSAM access, UniqueKey* key) noexcept {
  return FromRegistry(Sys().reg_open_key(parent, path, 0, access, key->Put()));
}

HRESULT CreateKey(HKEY parent, const WCHAR* path, UniqueKey* key, bool* existed) noexcept {
  DWORD disposition = 0;
  LSTATUS status = Sys().reg_create_key(parent, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key->Put(), &disposition);
  if (existed != nullptr) *existed = disposition == REG_OPENED_EXISTING_KEY;
  return FromRegistry(status);
}

LSTATUS EnumSubkey(HKEY key, DWORD index, WCHAR* name, DWORD capacity) noexcept {
  return Sys().reg_enum_key(key, index, name, &capacity, nullptr, nullptr, nullptr, nullptr);
}

LSTATUS EnumValueName(HKEY key, DWORD index, WCHAR* name, DWORD capacity) noexcept {
  return Sys().reg_enum_value(key, index, name, &capacity, nullptr, nullptr, nullptr, nullptr);
}

HRESULT SetValue(HKEY key, const WCHAR* name, DWORD type, std::span<const BYTE> data) noexcept {
  if (data.size() > 0xFFFFFFFFu) return E_INVALIDARG;
  return FromRegistry(Sys().reg_set_value(key, name, 0, type, data.data(), static_cast<DWORD>(data.size())));
}

HRESULT SetText(HKEY key, const WCHAR* name, const WCHAR* text) noexcept {
  return SetValue(key, name, REG_SZ, {reinterpret_cast<const BYTE*>(text), TextSize(text)});
}

HRESULT DeleteValue(HKEY key, const WCHAR* name) noexcept { return FromRegistry(Sys().reg_delete_value(key, name)); }

HRESULT DeleteKeyTree(HKEY key, WCHAR* name_buffer) noexcept {
  HRESULT nested = E_FAIL;
  for (;;) {
    LSTATUS status = EnumSubkey(key, 0, name_buffer, kKeyNameCapacity);
    if (status == static_cast<LSTATUS>(ERROR_NO_MORE_ITEMS)) return S_OK;
    if (status != static_cast<LSTATUS>(ERROR_SUCCESS)) return nested;
    UniqueKey subkey;
    if (Failed(OpenKey(key, name_buffer, KEY_ALL_ACCESS, &subkey))) return nested;
    nested = DeleteKeyTree(subkey.Get(), name_buffer);
    subkey.Reset();
    if (Failed(nested)) return nested;
    // The nested walk has used the buffer.
    if (EnumSubkey(key, 0, name_buffer, kKeyNameCapacity) != static_cast<LSTATUS>(ERROR_SUCCESS)) return nested;
    if (Sys().reg_delete_key(key, name_buffer) != static_cast<LSTATUS>(ERROR_SUCCESS)) return nested;
  }
}

HRESULT DeleteWholeKey(HKEY parent, const WCHAR* path) noexcept {
  UniqueKey key;
  if (HRESULT hr = OpenKey(parent, path, KEY_ALL_ACCESS, &key); Failed(hr)) return hr;
  WCHAR name[kKeyNameCapacity];
  if (HRESULT hr = DeleteKeyTree(key.Get(), name); Failed(hr)) return hr;
  key.Reset();
  return FromRegistry(Sys().reg_delete_key(parent, path));
}

}  // namespace uab
