// The personal address book and the default directory: one container each that callers choose or, while the choice is
// missing or no longer fits, the first container of the hierarchy that does. Any thread may call.
#pragma once

#include "addrbook/settings.h"
#include "keluab/codes.h"
#include "keluab/tags.h"

namespace uab {

class AddrBook;

struct DefaultContainer {
  ULONG tag;    // of the setting
  ULONG flags;  // that the container must have
};
inline constexpr DefaultContainer kPersonalAddressBook = {PR_AB_DEFAULT_PAB, AB_MODIFIABLE};
inline constexpr DefaultContainer kDefaultDirectory = {PR_AB_DEFAULT_DIR, AB_RECIPIENTS};

// Stores the container's identifier as a head block of size bytes. A container found in the hierarchy is the setting
// for the rest of the session; it is not saved. E_INVALIDARG: an out pointer null. E_FAIL: no container fits. Errors of
// the hierarchy. E_OUTOFMEMORY.
HRESULT GetDefaultContainer(AddrBook& address_book, Settings& settings, const DefaultContainer& kind, ULONG* size,
                            ENTRYID** entry) noexcept;

// E_FAIL: no identifier, or of no container that fits; the setting stays.
HRESULT SetDefaultContainer(AddrBook& address_book, Settings& settings, const DefaultContainer& kind, ULONG size,
                            ENTRYID* entry) noexcept;

}  // namespace uab
