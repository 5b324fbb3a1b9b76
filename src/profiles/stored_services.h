// The message services of a stored profile as a table: one row for each service. Names and errors as in
// profiles/profile_store.h. One thread at a time works on a table.
#pragma once

#include "profiles/profile_store.h"

namespace uab {

// Stores a new table of the profile's services. E_FAIL: no such profile. Errors of LoadTable.
HRESULT LoadServices(const WCHAR* app_key, const WCHAR* profile_name, ComPtr<MemTable>& table) noexcept;

// Makes the profile's services exactly the rows of the table; the address book's settings stay. Errors of SaveTable,
// which also says what a failure leaves.
HRESULT SaveServices(const WCHAR* app_key, const WCHAR* profile_name, MemTable& table) noexcept;

// Makes a new profile of the rows. E_ACCESSDENIED: there is one. After a failure the profile is gone again.
HRESULT SaveNewProfile(const WCHAR* app_key, const WCHAR* profile_name, MemTable& table) noexcept;

// Writes a new service and adds it to the table as its first row. E_INVALIDARG: no values. Errors of BuildTableRow and
// SaveRow; nothing is added then.
HRESULT AddRowAndSave(const WCHAR* app_key, const WCHAR* profile_name, const SRow& row, MemTable& table) noexcept;

}  // namespace uab
