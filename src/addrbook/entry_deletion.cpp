#include "addrbook/entry_deletion.h"

#include "addrbook/provider_groups.h"
#include "props/prop_values.h"
#include "session/provided_object.h"

namespace uab {
namespace {

// The container that the provider reports as its top level, opened through the provider itself.
HRESULT OpenTopLevel(const ComPtr<ProviderEntry>& owner, Provided<IABContainer>& container) noexcept {
  ChainPtr<SPropValue> id;
  HRESULT hr = GetOneProp(owner->provider.Get(), PR_ENTRYID, id);
  if (Failed(hr)) return hr;
  return id ? OpenContainer(owner, id->Value.bin, container) : MAPI_E_NOT_FOUND;
}

void DeleteFrom(const ComPtr<ProviderEntry>& owner, ENTRYLIST entries) noexcept {
  Provided<IABContainer> container;
  if (Failed(OpenTopLevel(owner, container))) return;
  (void)call_out([&] { return container->DeleteEntries(&entries, 0); });
}

}  // namespace

HRESULT DeleteEntriesByProvider(ProviderList& providers, const ENTRYLIST& entries) noexcept {
  ProviderGroups groups;
  HRESULT hr = groups.Make(providers, entries.cValues, [&](ULONG i) { return BytesOf(entries.lpbin[i]); });
  if (Failed(hr)) return hr;
  // One block, for one group after the other.
  ChainPtr<SBinary> block;
  hr = AllocateInto(block, sizeof(SBinary) * std::size_t{entries.cValues});
  if (Failed(hr)) return hr;
  for (std::size_t group = 0; !groups.is_last(group); ++group) {
    std::span<const ULONG> items = groups.items(group);
    if (items.empty() || !groups.owner(group)) continue;
    SBinary* next = block.Get();
    for (auto item = items.rbegin(); item != items.rend(); ++item) *next++ = entries.lpbin[*item];
    DeleteFrom(groups.owner(group), {static_cast<ULONG>(items.size()), block.Get()});
  }
  return S_OK;
}

}  // namespace uab
