// Registry calls as the upper layers make them: through Sys(), into owners, with HRESULTs.
#pragma once

#include <span>

#include "platform/unique_resource.h"
#include "platform/win32.h"

namespace uab {

// Key names read back from the registry are read into buffers of this many characters, the terminator included.
inline constexpr DWORD kKeyNameCapacity = 65;

// Every registry call that fails is E_FAIL.
constexpr HRESULT FromRegistry(LSTATUS status) noexcept {
  return status == static_cast<LSTATUS>(ERROR_SUCCESS) ? S_OK : E_FAIL;
}

// Opens the key at a path below parent. E_FAIL: *key is empty.
HRESULT OpenKey(HKEY parent, const WCHAR* path, REGSAM access, UniqueKey* key) noexcept;

// Opens or makes the key at a path below parent, with all access. *existed (may be null): whether it was there.
HRESULT CreateKey(HKEY parent, const WCHAR* path, UniqueKey* key, bool* existed) noexcept;

// The name of a subkey or value by its index. ERROR_NO_MORE_ITEMS: index at or behind the end. ERROR_MORE_DATA: the
// name has capacity characters or more.
LSTATUS EnumSubkey(HKEY key, DWORD index, WCHAR* name, DWORD capacity) noexcept;
LSTATUS EnumValueName(HKEY key, DWORD index, WCHAR* name, DWORD capacity) noexcept;

// E_INVALIDARG: more than 4 GiB of data.
HRESULT SetValue(HKEY key, const WCHAR* name, DWORD type, std::span<const BYTE> data) noexcept;
HRESULT SetText(HKEY key, const WCHAR* name, const WCHAR* text) noexcept;  // REG_SZ with its terminator
HRESULT DeleteValue(HKEY key, const WCHAR* name) noexcept;                 // E_FAIL for a missing one too

// Deletes every key below an open key, depth first, and leaves the key itself. name_buffer: kKeyNameCapacity characters
// that every level shares. The walk stops at the first failure. S_OK when no subkey is left; a failed nested walk's
// error; after a failing call of its own the status of the last nested walk (E_FAIL when there was none), so a caller
// that has to know whether the key is empty deletes it and looks at that.
HRESULT DeleteKeyTree(HKEY key, WCHAR* name_buffer) noexcept;

// Deletes the key at a path below parent with all below it. E_FAIL for a missing one too.
HRESULT DeleteWholeKey(HKEY parent, const WCHAR* path) noexcept;

}  // namespace uab
