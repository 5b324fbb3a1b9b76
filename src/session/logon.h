// Logon: from a profile's name to a session with its providers, all or nothing. Runs on the caller's thread.
#pragma once

#include "keluab/session.h"
#include "profiles/profile_store.h"
#include "session/provider_loading.h"

namespace uab {

using ProfileName = WCHAR[kProfileNameChars + 1];

// Stores the name of the profile to open, cut after 64 characters: with UAB_DEFAULT_PROFILE the first one that is
// marked as the default, else the one that profile_name (may be null) names exactly. No such profile, for whatever
// reason: MAPI_E_UNKNOWN_FLAGS with UAB_LOGON_UNKNOWN_FLAGS, else MAPI_E_LOGON_FAILED. Otherwise the error of the
// profile administration or of its table.
HRESULT ResolveProfile(const LogonArguments& arguments, const WCHAR* profile_name, ProfileName& resolved) noexcept;

// Stores a session on the profile and, when address_book is not null, its address book. After a failure neither is
// written, and no object and no library is left. Errors of ResolveProfile, MsgServiceAdmin, LoadProviders and AddrBook.
HRESULT Logon(const LogonArguments& arguments, const WCHAR* profile_name, IAddrBook** address_book,
              IUABSession** session) noexcept;

}  // namespace uab
