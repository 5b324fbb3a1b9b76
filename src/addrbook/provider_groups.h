// Items sorted by the provider that owns their entry identifiers: one group for each provider in list order, and a last
// one for items that no provider owns. Linear in the items, with one look-up each. One thread at a time.
#pragma once

#include <span>
#include <vector>

#include "platform/at_boundary.h"
#include "session/entry_id.h"
#include "session/provider_list.h"

namespace uab {

class ProviderGroups : NonCopyable {
 public:
  // Groups the items 0 to count - 1; identifier_of(i) gives an item's identifier as bytes, empty for none.
  // E_OUTOFMEMORY.
  template <typename IdentifierOf>
  HRESULT Make(ProviderList& list, ULONG count, IdentifierOf&& identifier_of) noexcept {
    return at_boundary([&]() -> HRESULT {
      if (HRESULT hr = list.Entries(providers_); Failed(hr)) return hr;
      std::vector<ULONG> groups(count);
      for (ULONG i = 0; i < count; ++i) groups[i] = GroupOf(list, identifier_of(i));
      Sort(groups);
      return S_OK;
    });
  }

  std::size_t count() const noexcept { return providers_.size() + 1; }

  // The group's entry; empty for the last group, and for an entry without a provider object.
  ComPtr<ProviderEntry> owner(std::size_t group) const noexcept {
    return !is_last(group) && providers_[group]->provider ? providers_[group] : ComPtr<ProviderEntry>();
  }
  bool is_last(std::size_t group) const noexcept { return group == providers_.size(); }

  // The items of a group, ascending.
  std::span<const ULONG> items(std::size_t group) const noexcept {
    return std::span(order_).subspan(starts_[group], starts_[group + 1] - starts_[group]);
  }

 private:
  ULONG GroupOf(ProviderList& list, std::span<const BYTE> identifier) const noexcept;
  void Sort(std::span<const ULONG> groups);  // throws std::bad_alloc

  std::vector<ComPtr<ProviderEntry>> providers_;
  std::vector<ULONG> order_;
  std::vector<ULONG> starts_;  // of each group in order_, and the end
};

}  // namespace uab
