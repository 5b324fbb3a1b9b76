#include "session/uid_index.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/at_boundary.h"

namespace uab {

std::size_t UidHash::operator()(const MAPIUID& uid) const noexcept {
  std::uint64_t halves[2];
  std::memcpy(halves, uid.ab, sizeof(halves));
  std::uint64_t mixed = (halves[0] ^ (halves[1] >> 29)) * 0x9E3779B97F4A7C15u;
  mixed = (mixed ^ (mixed >> 32) ^ halves[1]) * 0xD6E8FEB86659FD93u;
  return static_cast<std::size_t>(mixed ^ (mixed >> 32));
}

bool UidEqual::operator()(const MAPIUID& a, const MAPIUID& b) const noexcept {
  return std::memcmp(a.ab, b.ab, sizeof(a.ab)) == 0;
}

HRESULT UidIndex::Add(const MAPIUID& uid, ULONG entry) noexcept {
  return at_boundary([&]() -> HRESULT {
    auto found = entries_.find(uid);
    if (found == entries_.end()) {
      entries_.emplace(uid, std::vector<ULONG>(1, entry));
      return S_OK;
    }
    std::vector<ULONG>& numbers = found->second;
    numbers.insert(std::lower_bound(numbers.begin(), numbers.end(), entry), entry);
    return S_OK;
  });
}

void UidIndex::Remove(const MAPIUID& uid, ULONG entry) noexcept {
  auto found = entries_.find(uid);
  if (found == entries_.end()) return;
  std::erase(found->second, entry);
  if (found->second.empty()) entries_.erase(found);
}

std::span<const ULONG> UidIndex::Find(const MAPIUID& uid) const noexcept {
  auto found = entries_.find(uid);
  return found == entries_.end() ? std::span<const ULONG>() : std::span<const ULONG>(found->second);
}

}  // namespace uab
