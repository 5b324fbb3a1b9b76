// A set of identifiers, compared by their bytes, for telling in constant time whether one has come before. The bytes
// are borrowed. One thread at a time.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace uab {

class IdSet {
 public:
  bool Contains(std::string_view id) const noexcept;

  // False: it is there already. Throws std::bad_alloc: the set is unchanged.
  bool Insert(std::string_view id);

 private:
  // Open addressing, over hash and position: growing and most probes never look at the bytes.
  struct Slot {
    std::uint32_t hash;
    std::uint32_t position;  // in ids_, plus 1; 0: a free slot
  };
  std::size_t Find(std::string_view id, std::uint32_t hash) const noexcept;  // its slot, or the free one for it
  void Grow();

  std::vector<std::string_view> ids_;
  std::vector<Slot> slots_;  // a power of two, at most half in use
};

}  // namespace uab
