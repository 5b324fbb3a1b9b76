#include "addrbook/entry_deletion.h"

#include "addrbook/provider_calls.h"
#include "addrbook/provider_groups.h"
#include "props/prop_values.h"

namespace uab {
namespace {

constexpr TagArray<1> kEntryIdColumn = {1, {PR_ENTRYID}};

// The container that the provider reports as its top level, opened through the provider itself.
HRESULT OpenTopLevel(IAddrBook& provider, ComPtr<IABContainer>& container) noexcept {
  ChainPtr<SPropValue> values;
  ULONG count = 0;
  HRESULT hr = ReadProps(provider, kEntryIdColumn.address(), MAPI_UNICODE, &count, values);
  if (Failed(hr)) return hr;
  if (count == 0 || values->ulPropTag != PR_ENTRYID) return MAPI_E_NOT_FOUND;
  return OpenContainer(provider, values->Value.bin, container);
}

void DeleteFrom(IAddrBook& provider, ENTRYLIST entries) noexcept {
  ComPtr<IABContainer> container;
  if (Failed(OpenTopLevel(provider, container))) return;
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
    if (items.empty() || groups.provider(group) == nullptr) continue;
    SBinary* next = block.Get();
    for (auto item = items.rbegin(); item != items.rend(); ++item) *next++ = entries.lpbin[*item];
    DeleteFrom(*groups.provider(group), {static_cast<ULONG>(items.size()), block.Get()});
  }
  return S_OK;
}

}  // namespace uab
