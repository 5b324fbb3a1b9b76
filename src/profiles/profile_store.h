// Where profiles live in the registry of the current user, and the table made of them:
//
//   Software\Ostrel\QUILLDOC\<application key>\UAB Profiles     the profile root
//       DefaultProfile                                          REG_SZ, the default profile's name
//       <profile name>\                                         one key for each profile, in it the address book's
//           <service identifier>\                               settings, below it one key for each message service
//
// Profile names have 1 to 64 characters and no backslash; a path has at most 128. What breaks that, or is null, is
// E_INVALIDARG before anything is read or written. A registry call that fails is E_FAIL.
//
// REQUIRES, for all that reads or writes the registry: the ProfileLock is held, to read or to change.
#pragma once

#include "platform/unique_resource.h"
#include "tables/mem_table.h"

namespace uab {

inline constexpr std::size_t kProfileNameChars = 64;
inline constexpr std::size_t kRegistryPathChars = 128;
using RegistryPath = WCHAR[kRegistryPathChars + 1];

// Stores the path of the profile root, or of a profile's key.
HRESULT ProfileRootPath(const WCHAR* app_key, RegistryPath& path) noexcept;
HRESULT ProfilePath(const WCHAR* app_key, const WCHAR* profile_name, RegistryPath& path) noexcept;

enum class ProfileKeyMode {
  kOpen,    // an existing key, for reading; E_FAIL: there is none
  kCreate,  // with all access, made if it is missing
};
HRESULT OpenProfileKey(const WCHAR* app_key, const WCHAR* profile_name, ProfileKeyMode mode, UniqueKey& key) noexcept;

// Whether a new profile's name is free. E_ACCESSDENIED: the registry, which does not tell case apart, has it already.
HRESULT CheckNewProfileName(const WCHAR* app_key, const WCHAR* profile_name) noexcept;

// Records the default profile; null: none, E_FAIL if there was none. E_FAIL: there is no profile root.
HRESULT WriteDefaultProfile(const WCHAR* app_key, const WCHAR* profile_name) noexcept;

// Stores a new table with a row for each profile in the registry's order: PR_DISPLAY_NAME_W, PR_DEFAULT_PROFILE.
// A name that the recorded default equals without regard to case is the default. No profile root: an empty table.
// E_FAIL also: a key's name has more than 64 characters. E_OUTOFMEMORY.
HRESULT BuildProfileTable(const WCHAR* app_key, ComPtr<MemTable>& table) noexcept;

// Whether the table has a profile of exactly this name.
bool HasProfile(MemTable& table, const WCHAR* profile_name) noexcept;

// Whether the first profile of this name, without regard to case, is the default.
bool IsDefaultProfile(MemTable& table, const WCHAR* profile_name) noexcept;

}  // namespace uab
