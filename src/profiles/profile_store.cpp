#include "profiles/profile_store.h"

#include <algorithm>
#include <iterator>

#include "keluab/tags.h"
#include "platform/registry.h"
#include "platform/system_calls.h"

namespace uab {
namespace {

constexpr const WCHAR* kBeforeAppKey = UAB_TEXT("Software\\Ostrel\\QUILLDOC\\");
constexpr const WCHAR* kBehindAppKey = UAB_TEXT("\\UAB Profiles");
constexpr const WCHAR* kDefaultProfileValue = UAB_TEXT("DefaultProfile");

using ProfileName = WCHAR[kProfileNameChars + 1];
static_assert(kProfileNameChars + 1 == kKeyNameCapacity, "profile names are key names");

constexpr bool Is(LSTATUS status, DWORD error) noexcept { return status == static_cast<LSTATUS>(error); }

// Appends to a path; false: no room.
bool Append(RegistryPath& path, std::size_t& length, const WCHAR* text) noexcept {
  for (; *text != 0; ++text) {
    if (length == kRegistryPathChars) return false;
    path[length++] = *text;
  }
  path[length] = 0;
  return true;
}

bool AppendRoot(RegistryPath& path, std::size_t& length, const WCHAR* app_key) noexcept {
  if (app_key == nullptr || *app_key == 0) return false;
  return Append(path, length, kBeforeAppKey) && Append(path, length, app_key) && Append(path, length, kBehindAppKey);
}

// 1 to 64 characters, none of them a backslash.
bool IsProfileName(const WCHAR* name) noexcept {
  if (name == nullptr || *name == 0) return false;
  std::size_t length = 0;
  for (; name[length] != 0; ++length) {
    if (length == kProfileNameChars || name[length] == '\\') return false;
  }
  return true;
}

// The recorded default; empty when there is none, or none that a profile could have.
void ReadDefaultProfile(HKEY root, ProfileName& name) noexcept {
  std::fill_n(name, std::size(name), WCHAR{0});
  DWORD size = sizeof(name);
  LSTATUS status =
      Sys().reg_query_value(root, kDefaultProfileValue, nullptr, nullptr, reinterpret_cast<BYTE*>(name), &size);
  if (!Is(status, ERROR_SUCCESS)) name[0] = 0;
  name[kProfileNameChars] = 0;
}

HRESULT AddProfile(MemTable& table, WCHAR* name, bool is_default, DWORD index) noexcept {
  SPropValue values[2] = {};
  values[0].ulPropTag = PR_DISPLAY_NAME_W;
  values[0].Value.lpszW = name;
  values[1].ulPropTag = PR_DEFAULT_PROFILE;
  values[1].Value.b = is_default ? 1 : 0;
  return table.AddRow(SRow{0, 2, values}, index);
}

HRESULT AddProfiles(HKEY root, MemTable& table) noexcept {
  ProfileName name, default_name;
  ReadDefaultProfile(root, default_name);
  for (DWORD index = 0;; ++index) {
    LSTATUS status = EnumSubkey(root, index, name, kKeyNameCapacity);
    if (Is(status, ERROR_NO_MORE_ITEMS)) return S_OK;
    if (!Is(status, ERROR_SUCCESS)) return E_FAIL;
    bool is_default = default_name[0] != 0 && lstrcmpiW(default_name, name) == 0;
    if (HRESULT hr = AddProfile(table, name, is_default, index); Failed(hr)) return hr;
  }
}

}  // namespace

HRESULT ProfileRootPath(const WCHAR* app_key, RegistryPath& path) noexcept {
  std::size_t length = 0;
  return AppendRoot(path, length, app_key) ? S_OK : E_INVALIDARG;
}

HRESULT ProfilePath(const WCHAR* app_key, const WCHAR* profile_name, RegistryPath& path) noexcept {
  std::size_t length = 0;
  if (!IsProfileName(profile_name) || !AppendRoot(path, length, app_key)) return E_INVALIDARG;
  return Append(path, length, UAB_TEXT("\\")) && Append(path, length, profile_name) ? S_OK : E_INVALIDARG;
}

HRESULT OpenProfileKey(const WCHAR* app_key, const WCHAR* profile_name, ProfileKeyMode mode, UniqueKey& key) noexcept {
  RegistryPath path;
  if (HRESULT hr = ProfilePath(app_key, profile_name, path); Failed(hr)) return hr;
  return mode == ProfileKeyMode::kOpen ? OpenKey(HKEY_CURRENT_USER, path, KEY_READ, &key)
                                       : CreateKey(HKEY_CURRENT_USER, path, &key, nullptr);
}

HRESULT CheckNewProfileName(const WCHAR* app_key, const WCHAR* profile_name) noexcept {
  RegistryPath path;
  if (HRESULT hr = ProfilePath(app_key, profile_name, path); Failed(hr)) return hr;
  UniqueKey key;
  LSTATUS status = Sys().reg_open_key(HKEY_CURRENT_USER, path, 0, KEY_READ, key.Put());
  if (Is(status, ERROR_FILE_NOT_FOUND)) return S_OK;
  return Is(status, ERROR_SUCCESS) ? E_ACCESSDENIED : E_FAIL;
}

HRESULT WriteDefaultProfile(const WCHAR* app_key, const WCHAR* profile_name) noexcept {
  RegistryPath path;
  if (HRESULT hr = ProfileRootPath(app_key, path); Failed(hr)) return hr;
  UniqueKey root;
  if (HRESULT hr = OpenKey(HKEY_CURRENT_USER, path, KEY_ALL_ACCESS, &root); Failed(hr)) return hr;
  return profile_name != nullptr ? SetText(root.Get(), kDefaultProfileValue, profile_name)
                                 : DeleteValue(root.Get(), kDefaultProfileValue);
}

HRESULT BuildProfileTable(const WCHAR* app_key, ComPtr<MemTable>& table) noexcept {
  RegistryPath path;
  if (HRESULT hr = ProfileRootPath(app_key, path); Failed(hr)) return hr;
  ComPtr<MemTable> built;
  if (HRESULT hr = MemTable::Create(built); Failed(hr)) return hr;
  UniqueKey root;
  LSTATUS status = Sys().reg_open_key(HKEY_CURRENT_USER, path, 0, KEY_READ, root.Put());
  if (Is(status, ERROR_SUCCESS)) {
    if (HRESULT hr = AddProfiles(root.Get(), *built); Failed(hr)) return hr;
  } else if (!Is(status, ERROR_FILE_NOT_FOUND)) {
    return E_FAIL;
  }
  table = std::move(built);
  return S_OK;
}

bool HasProfile(MemTable& table, const WCHAR* profile_name) noexcept {
  SPropValue name = {};
  name.ulPropTag = PR_DISPLAY_NAME_W;
  name.Value.lpszW = const_cast<WCHAR*>(profile_name);
  return table.HasRow(name);
}

bool IsDefaultProfile(MemTable& table, const WCHAR* profile_name) noexcept {
  for (std::size_t i = 0; i < table.row_count(); ++i) {
    const PropRecord* name = table.row(i).Find(PR_DISPLAY_NAME_W);
    if (name == nullptr || lstrcmpiW(RecordText(*name), profile_name) != 0) continue;
    const PropRecord* is_default = table.row(i).Find(PR_DEFAULT_PROFILE);
    return is_default != nullptr && is_default->value.Value.b != 0;
  }
  return false;
}

}  // namespace uab
