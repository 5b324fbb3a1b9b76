#include "props/id_search.h"

#include <bit>
#include <cstring>

#include "keluab/tags.h"

namespace uab {

// Four identifiers at a time: a word has a zero in the place of one that is equal, and its borrow marks the lowest such
// place exactly.
std::size_t FindId(std::span<const std::uint16_t> ids, ULONG tag, std::size_t from) noexcept {
  constexpr std::uint64_t kOnes = 0x0001000100010001u;
  constexpr std::uint64_t kTops = 0x8000800080008000u;
  const auto id = static_cast<std::uint16_t>(PropId(tag));
  const std::uint64_t wanted = kOnes * id;
  const std::size_t count = ids.size();
  std::size_t at = from;
  for (; at + 4 <= count; at += 4) {
    std::uint64_t word;
    std::memcpy(&word, ids.data() + at, sizeof word);
    word ^= wanted;
    const std::uint64_t zeros = (word - kOnes) & ~word & kTops;
    if (zeros != 0) return at + static_cast<std::size_t>(std::countr_zero(zeros)) / 16;
  }
  for (; at < count; ++at) {
    if (ids[at] == id) return at;
  }
  return kNowhere;
}

}  // namespace uab
