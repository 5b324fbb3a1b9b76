#include "profiles/stored_services.h"

#include <cstring>
#include <string>

#include "keluab/tags.h"
#include "platform/at_boundary.h"
#include "platform/registry.h"
#include "platform/system_calls.h"
#include "profiles/undo_record.h"
#include "tables/registry_persistence.h"

namespace uab {
namespace {

using Text = std::basic_string<WCHAR>;

// A service keeps its identifier, which names its key. E_INVALIDARG: a value has another one. MAPI_E_STRING_TOO_LONG:
// one of more than 32 bytes.
HRESULT CheckUid(const MAPIUID& uid, ULONG count, const SPropValue* values) noexcept {
  for (ULONG i = 0; i < count; ++i) {
    if (PropId(values[i].ulPropTag) != PropId(PR_SERVICE_UID)) continue;
    const SBinary& bytes = values[i].Value.bin;
    if (values[i].ulPropTag != PR_SERVICE_UID) return E_INVALIDARG;
    if (bytes.cb > 32) return MAPI_E_STRING_TOO_LONG;
    if (bytes.cb != sizeof(uid) || bytes.lpb == nullptr || std::memcmp(bytes.lpb, &uid, sizeof(uid)) != 0) {
      return E_INVALIDARG;
    }
  }
  return S_OK;
}

// The path of a service's key below the profile root.
Text ServicePath(const WCHAR* profile_name, const MAPIUID& uid) {
  ServiceKeyName name;
  FormatServiceKeyName(uid.ab, name);
  return Text(profile_name) + UAB_TEXT("\\") + name;
}

}  // namespace

SPropValue UidValue(const MAPIUID& uid) noexcept {
  SPropValue value = {};
  value.ulPropTag = PR_SERVICE_UID;
  value.Value.bin = {sizeof(uid), const_cast<BYTE*>(uid.ab)};
  return value;
}

bool HasServiceKey(const WCHAR* app_key, const WCHAR* profile_name, const MAPIUID& uid) noexcept {
  ServiceKeyName name;
  UniqueKey profile, service;
  return Succeeded(OpenProfileKey(app_key, profile_name, ProfileKeyMode::kOpen, profile)) &&
         Succeeded(FormatServiceKeyName(uid.ab, name)) && Succeeded(OpenKey(profile.Get(), name, KEY_READ, &service));
}

HRESULT LoadServices(const WCHAR* app_key, const WCHAR* profile_name, ComPtr<MemTable>& table) noexcept {
  UniqueKey key;
  if (HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kOpen, key); Failed(hr)) return hr;
  ComPtr<MemTable> loaded;
  if (HRESULT hr = MemTable::Create(loaded); Failed(hr)) return hr;
  if (HRESULT hr = LoadTable(*loaded, key.Get()); Failed(hr)) return hr;
  table = std::move(loaded);
  return S_OK;
}

HRESULT SaveServices(const WCHAR* app_key, const WCHAR* profile_name, MemTable& table) noexcept {
  return at_boundary([&]() -> HRESULT {
    UniqueKey key;
    if (HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kCreate, key); Failed(hr)) return hr;
    return ChangeOrUndo(app_key, profile_name, Remedy::kTree, [&] { return SaveTable(table, key.Get()); });
  });
}

HRESULT SaveNewProfile(const WCHAR* app_key, const WCHAR* profile_name, MemTable& table) noexcept {
  return at_boundary([&]() -> HRESULT {
    if (HRESULT hr = CheckNewProfileName(app_key, profile_name); Failed(hr)) return hr;
    return ChangeOrUndo(app_key, profile_name, Remedy::kRemove, [&]() -> HRESULT {
      UniqueKey key;
      HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kCreate, key);
      return Succeeded(hr) ? SaveTable(table, key.Get()) : hr;
    });
  });
}

HRESULT DeleteProfile(const WCHAR* app_key, const WCHAR* profile_name) noexcept {
  return at_boundary([&]() -> HRESULT {
    RegistryPath path;
    if (HRESULT hr = ProfilePath(app_key, profile_name, path); Failed(hr)) return hr;
    UniqueKey key;
    if (HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kOpen, key); Failed(hr)) return hr;
    key.Reset();
    bool recorded = false;
    if (HRESULT hr = WriteUndoRecord(app_key, profile_name, Remedy::kRemove, &recorded); Failed(hr)) return hr;
    HRESULT hr = DeleteWholeKey(HKEY_CURRENT_USER, path);
    if (Succeeded(hr) && recorded) hr = DeleteUndoRecord(app_key);
    if (Failed(hr) && recorded) hr = Undo(app_key, profile_name, Remedy::kRemove);  // begun, it is ended
    if (Succeeded(hr)) (void)DropUndoRecords(app_key, profile_name);                // or else the next change does
    return hr;
  });
}

HRESULT AddService(const WCHAR* app_key, const WCHAR* profile_name, const MAPIUID& uid, const SRow& row,
                   MemTable& table) noexcept {
  return at_boundary([&]() -> HRESULT {
    TableRow built;
    if (HRESULT hr = built.BuildToStore(row); Failed(hr)) return hr;
    UniqueKey key;
    if (HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kCreate, key); Failed(hr)) return hr;
    return ChangeOrUndo(app_key, ServicePath(profile_name, uid), Remedy::kRemove, [&]() -> HRESULT {
      HRESULT hr = SaveRow(key.Get(), built);
      return Succeeded(hr) ? table.InsertRow(std::move(built), 0) : hr;
    });
  });
}

HRESULT DeleteService(const WCHAR* app_key, const WCHAR* profile_name, const MAPIUID& uid, MemTable& table) noexcept {
  return at_boundary([&]() -> HRESULT {
    if (HRESULT hr = table.DeleteRow(UidValue(uid)); Failed(hr)) return hr;
    UniqueKey key;
    if (HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kCreate, key); Failed(hr)) return hr;
    return ChangeOrUndo(
        app_key, ServicePath(profile_name, uid), Remedy::kValues, [&] { return SaveTable(table, key.Get()); },
        Unrecorded::kGoesOn);
  });
}

HRESULT UpdateService(const WCHAR* app_key, const WCHAR* profile_name, const MAPIUID& uid, ULONG count,
                      const SPropValue* values, MemTable& table) noexcept {
  if (HRESULT hr = CheckUid(uid, count, values); Failed(hr)) return hr;
  return at_boundary([&]() -> HRESULT {
    UniqueKey key;
    if (HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kCreate, key); Failed(hr)) return hr;
    return ChangeOrUndo(app_key, ServicePath(profile_name, uid), Remedy::kValues,
                        [&] { return UpdateRowAndSave(table, UidValue(uid), count, values, key.Get()); });
  });
}

}  // namespace uab
