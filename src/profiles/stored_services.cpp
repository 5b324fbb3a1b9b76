#include "profiles/stored_services.h"

#include "tables/registry_persistence.h"

namespace uab {

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
  UniqueKey key;
  if (HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kCreate, key); Failed(hr)) return hr;
  return SaveTable(table, key.Get());
}

HRESULT SaveNewProfile(const WCHAR* app_key, const WCHAR* profile_name, MemTable& table) noexcept {
  UniqueKey key;
  if (HRESULT hr = CreateNewProfileKey(app_key, profile_name, key); Failed(hr)) return hr;
  HRESULT hr = SaveTable(table, key.Get());
  if (Failed(hr)) {
    key.Reset();
    DeleteProfileKey(app_key, profile_name);  // as far as it can be undone
  }
  return hr;
}

HRESULT AddRowAndSave(const WCHAR* app_key, const WCHAR* profile_name, const SRow& row, MemTable& table) noexcept {
  TableRow built;
  if (HRESULT hr = BuildTableRow(row, built); Failed(hr)) return hr;
  UniqueKey key;
  if (HRESULT hr = OpenProfileKey(app_key, profile_name, ProfileKeyMode::kCreate, key); Failed(hr)) return hr;
  if (HRESULT hr = SaveRow(key.Get(), built); Failed(hr)) return hr;
  return table.InsertRow(std::move(built), 0);
}

}  // namespace uab
