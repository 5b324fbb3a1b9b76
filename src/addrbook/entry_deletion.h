// Deleting entries of several providers at once.
#pragma once

#include "session/provider_list.h"

namespace uab {

// Has each provider's top-level container delete those of the entries that it owns, the last first. What no provider
// owns is passed over, and what the providers answer is not reported. E_OUTOFMEMORY: nothing has been deleted.
HRESULT DeleteEntriesByProvider(ProviderList& providers, const ENTRYLIST& entries) noexcept;

}  // namespace uab
