#include "addrbook/provider_groups.h"

namespace uab {

ULONG ProviderGroups::GroupOf(ProviderList& list, std::span<const BYTE> identifier) const noexcept {
  const std::size_t last = providers_.size();
  if (identifier.size() < kRoutableSize) return static_cast<ULONG>(last);
  const std::size_t position = list.PositionOfUid(UidOf(identifier.data()));
  return static_cast<ULONG>(position < last ? position : last);
}

// Counts, then places: every group keeps the items' order.
void ProviderGroups::Sort(std::span<const ULONG> groups) {
  starts_.assign(count() + 1, 0);
  for (ULONG group : groups) ++starts_[group + 1];
  for (std::size_t i = 1; i < starts_.size(); ++i) starts_[i] += starts_[i - 1];
  std::vector<ULONG> next(starts_.begin(), starts_.end() - 1);
  order_.resize(groups.size());
  for (std::size_t i = 0; i < groups.size(); ++i) order_[next[groups[i]]++] = static_cast<ULONG>(i);
}

}  // namespace uab
