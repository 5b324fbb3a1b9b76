// Puts a provider on a session's list as loading would, for tests that load no library.
#pragma once

#include "session/provider_list.h"

namespace uab {

// Provider: an IAddrBook with its MAPIUID in uid.
template <typename Provider>
HRESULT Enlist(ProviderList& providers, Provider& provider) noexcept {
  ComPtr<ProviderEntry> entry;
  ComPtr<ProviderSupport> support;
  if (HRESULT hr = ProviderEntry::Create(providers, entry); Failed(hr)) return hr;
  if (HRESULT hr = entry->MakeSupport(support); Failed(hr)) return hr;
  if (HRESULT hr = support->SetProviderUID(&provider.uid, 0); Failed(hr)) return hr;
  entry->provider = ComPtr<IAddrBook>(&provider);
  return providers.PushFront(std::move(entry));
}

}  // namespace uab
