// Property sets in the registry: a service of a profile as a subkey of the profile's key, named by its identifier, and
// the address book's settings as values of the profile's key itself.
//
//   value name    the property's tag in decimal: "805371935"; it only keeps values apart, reading looks at the record
//   value data    the property's PropRecord, REG_BINARY
//   subkey name   the bytes of PR_SERVICE_UID in lowercase hexadecimal: "00112233445566778899aabbccddeeff"
//
// One thread at a time works on a list or table; other processes may work on the same keys. Every operation here makes
// a number of registry calls that grows with what is read or written and nothing else. A registry call that fails is
// E_FAIL.
#pragma once

#include <span>

#include "platform/registry.h"
#include "tables/mem_table.h"

namespace uab {

// The name of a service's subkey. MAPI_E_MISSING_REQUIRED_COLUMN: an empty identifier. MAPI_E_STRING_TOO_LONG: one of
// more than 32 bytes.
using ServiceKeyName = WCHAR[kKeyNameCapacity];
HRESULT FormatServiceKeyName(std::span<const BYTE> uid, ServiceKeyName& name) noexcept;

// Writes each dirty property of the list as a value of the key, and stops at the first failure. What the key has of the
// same properties under other names, which is of other types, goes then. Properties stay dirty. E_OUTOFMEMORY.
HRESULT SaveList(const PropList& list, HKEY key) noexcept;

// Reads the key's values into the list, all dirty; of two with the same property identifier the later one stays. A
// value that is no record is passed over and stays where it is. E_FAIL: a value without data makes the key unreadable,
// as one does whose name has more than 64 characters. E_OUTOFMEMORY. On any error the list is empty.
// REQUIRES: list is empty.
HRESULT LoadList(PropList& list, HKEY key) noexcept;

// Writes all of a service's properties into its subkey, which loses its own subkeys and what it has of the same
// properties under other names. Other values of the subkey stay. A subkey that was made for the service is gone again
// after a failure. MAPI_E_MISSING_REQUIRED_COLUMN: no PR_SERVICE_UID, or an empty one. MAPI_E_STRING_TOO_LONG: one of
// more than 32 bytes. Nothing is written then. E_OUTOFMEMORY.
HRESULT SaveRow(HKEY profile_key, const TableRow& row) noexcept;

// Appends one row for each subkey, in the registry's order. Rows loaded before an error stay in the table.
HRESULT LoadTable(MemTable& table, HKEY profile_key) noexcept;

// Makes the subkeys of a profile's key exactly the rows of the table. New settings are written before anything is
// taken away, so that a failure loses no service: those of the table that are not written yet are as they were before.
// A value that is no record stays in its service's subkey. Rows with one identifier share a subkey: it has what any of
// them has, of a property that several have that of the last. Errors of SaveRow.
HRESULT SaveTable(MemTable& table, HKEY profile_key) noexcept;

// Sets values in the first row that holds the key's property and writes the row. MAPI_E_NOT_FOUND: no such row, or
// count is 0. Errors of PropList::Set and SaveRow; the row is then as it was before, its subkey perhaps not.
HRESULT UpdateRowAndSave(MemTable& table, const SPropValue& key, ULONG count, const SPropValue* values,
                         HKEY profile_key) noexcept;

}  // namespace uab
