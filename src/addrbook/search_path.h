// The search path: the containers with AB_RECIPIENTS in which callers look names up, in order. Any thread may call,
// EstablishSearchPath before the address book is handed out.
#pragma once

#include "addrbook/settings.h"

namespace uab {

class AddrBook;

// Puts a path in force at logon. A stored one of which every member still fits stays as it is; one that lost members is
// shortened, which is saved; without a member left, every container of the hierarchy that fits is the path of this
// session, which is not saved. E_OUTOFMEMORY: whatever is stored stays in force.
HRESULT EstablishSearchPath(AddrBook& address_book, Settings& settings) noexcept;

// Stores a row set with a row of one PR_ENTRYID value for each member; the caller frees it with UABFreeProws.
// E_INVALIDARG: path null. MAPI_E_NOT_FOUND: the path is empty. E_OUTOFMEMORY.
HRESULT GetSearchPath(Settings& settings, SRowSet** path) noexcept;

// Keeps the rows whose first value is the PR_ENTRYID of a container that fits. E_INVALIDARG: there is none; the path
// stays. E_OUTOFMEMORY.
HRESULT SetSearchPath(AddrBook& address_book, Settings& settings, const SRowSet* path) noexcept;

}  // namespace uab
