// Stored profiles as wholes and their message services as tables, one row for each service. Names and errors as in
// profiles/profile_store.h. A change is complete, or all is as before it; one that the registry does not let be undone
// is undone as soon as it does. A deletion needs no room: without any it leaves, when it is cut short, what the next
// one ends.
//
// REQUIRES, for all: that lock is held, to read for LoadServices and HasServiceKey, to change for the others.
#pragma once

#include "profiles/profile_store.h"

namespace uab {

// Stores a new table of the profile's services. E_FAIL: no such profile. Errors of LoadTable.
HRESULT LoadServices(const WCHAR* app_key, const WCHAR* profile_name, ComPtr<MemTable>& table) noexcept;

// Makes the profile's services exactly the rows of the table; the address book's settings stay. Errors of SaveTable.
HRESULT SaveServices(const WCHAR* app_key, const WCHAR* profile_name, MemTable& table) noexcept;

// Makes a new profile of the rows. E_ACCESSDENIED: the registry, which does not tell case apart, has that name.
HRESULT SaveNewProfile(const WCHAR* app_key, const WCHAR* profile_name, MemTable& table) noexcept;

// Deletes the profile with all below it. The recorded default stays.
HRESULT DeleteProfile(const WCHAR* app_key, const WCHAR* profile_name) noexcept;

// Writes a new service, whose row holds its identifier uid, and adds it to the table as its first row. E_INVALIDARG: no
// values. Errors of TableRow::Build and SaveRow; nothing is added then.
HRESULT AddService(const WCHAR* app_key, const WCHAR* profile_name, const MAPIUID& uid, const SRow& row,
                   MemTable& table) noexcept;

// Deletes a service from the table and the profile. MAPI_E_NOT_FOUND: the table has none. Errors of SaveTable; the
// table is of no further use then.
HRESULT DeleteService(const WCHAR* app_key, const WCHAR* profile_name, const MAPIUID& uid, MemTable& table) noexcept;

// Sets values of a service in the table and the profile. E_INVALIDARG, MAPI_E_STRING_TOO_LONG: one that would change
// the service's identifier. Errors of UpdateRowAndSave.
HRESULT UpdateService(const WCHAR* app_key, const WCHAR* profile_name, const MAPIUID& uid, ULONG count,
                      const SPropValue* values, MemTable& table) noexcept;

// Whether the registry has a key for a service of this identifier.
bool HasServiceKey(const WCHAR* app_key, const WCHAR* profile_name, const MAPIUID& uid) noexcept;

SPropValue UidValue(const MAPIUID& uid) noexcept;  // PR_SERVICE_UID, which borrows uid

}  // namespace uab
