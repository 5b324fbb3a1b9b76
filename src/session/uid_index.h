// Finds which entries of a list registered a MAPIUID, without walking what all of them registered. No lock: the list
// guards it.
#pragma once

#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "keluab/base.h"

namespace uab {

struct UidHash {
  std::size_t operator()(const MAPIUID& uid) const noexcept;
};
struct UidEqual {
  bool operator()(const MAPIUID& a, const MAPIUID& b) const noexcept;
};
using UidSet = std::unordered_set<MAPIUID, UidHash, UidEqual>;

class UidIndex {
 public:
  // The entry with this number registered the identifier. E_OUTOFMEMORY: unchanged. REQUIRES: not added before.
  HRESULT Add(const MAPIUID& uid, ULONG entry) noexcept;
  void Remove(const MAPIUID& uid, ULONG entry) noexcept;

  // The numbers of the entries that registered the identifier, ascending. Until the next change.
  std::span<const ULONG> Find(const MAPIUID& uid) const noexcept;

 private:
  std::unordered_map<MAPIUID, std::vector<ULONG>, UidHash, UidEqual> entries_;  // no vector is empty
};

}  // namespace uab
