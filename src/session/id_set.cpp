#include "session/id_set.h"

#include <functional>

namespace uab {

namespace {

std::uint32_t HashOf(std::string_view id) noexcept {
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(id));
}

}  // namespace

bool IdSet::Contains(std::string_view id) const noexcept {
  return !slots_.empty() && slots_[Find(id, HashOf(id))].position != 0;
}

bool IdSet::Insert(std::string_view id) {
  if (2 * (ids_.size() + 1) > slots_.size()) Grow();
  const std::uint32_t hash = HashOf(id);
  const std::size_t at = Find(id, hash);
  if (slots_[at].position != 0) return false;
  ids_.push_back(id);
  slots_[at] = {hash, static_cast<std::uint32_t>(ids_.size())};
  return true;
}

std::size_t IdSet::Find(std::string_view id, std::uint32_t hash) const noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  while (slots_[at].position != 0 && !(slots_[at].hash == hash && ids_[slots_[at].position - 1] == id)) {
    at = (at + 1) & mask;
  }
  return at;
}

void IdSet::Grow() {
  std::vector<Slot> larger(slots_.empty() ? 16 : 2 * slots_.size());
  const std::size_t mask = larger.size() - 1;
  for (const Slot& slot : slots_) {
    if (slot.position == 0) continue;
    std::size_t at = slot.hash & mask;
    while (larger[at].position != 0) at = (at + 1) & mask;
    larger[at] = slot;
  }
  slots_.swap(larger);
}

}  // namespace uab
