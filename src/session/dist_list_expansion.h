// Replaces the distribution lists of an address list by their members, lists in lists too, each identifier once.
// One thread at a time; the session calls it under its lock.
#pragma once

#include "session/provider_list.h"

namespace uab {

// The new list holds the entries of list that are no distribution lists, in their order, then the members, breadth
// first; each member has the recipient type of the entry through which it was reached first. list is reused when all
// fit and nothing failed; otherwise it is freed and replaced, by null when there is no memory. Linear in entries and
// members.
//
// Lists are opened and read through the providers that own them. A failure ends the expansion, and list is then what
// was gathered before it: MAPI_E_MISSING_REQUIRED_COLUMN: an entry or a member lacks a property that it needs. Errors
// of OpenContainer. E_FAIL: null in place of a table. E_OUTOFMEMORY. Whatever a provider answers.
//
// REQUIRES: list has an entry.
HRESULT ReplaceDistLists(ProviderList& providers, ADRLIST*& list) noexcept;

}  // namespace uab
