// The merged hierarchy of a session's providers as a table: for each provider, in list order, its top-level container
// as it reports it, and on request the containers below, each one level deeper than the provider reports it. Built anew
// on each call, linear in its rows. Any thread may call.
#pragma once

#include "keluab/addrbook.h"
#include "keluab/tags.h"
#include "session/provider_list.h"
#include "tables/mem_table.h"

namespace uab {

// The columns that every row has.
inline constexpr TagArray<5> kHierarchyColumns = {
    5, {PR_DISPLAY_NAME_W, PR_ENTRYID, PR_OBJECT_TYPE, PR_CONTAINER_FLAGS, PR_DEPTH}};

// Stores a new table. flags: CONVENIENT_DEPTH adds the containers below; MAPI_UNICODE is passed on to the providers.
// The result is what the provider asked last answered; if that is an error there is no table. Other providers that fail
// contribute no row, and those that fail below their top level as many as they gave; a row that can't be added is
// passed over. E_OUTOFMEMORY. MAPI_E_FOLDER_CYCLE: a provider hands out the merged hierarchy itself, level after level.
HRESULT BuildHierarchy(ProviderList& providers, ULONG flags, ComPtr<MemTable>& table) noexcept;

}  // namespace uab
