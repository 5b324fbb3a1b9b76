// Finding a property by its identifier in a packed array of identifiers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/win32.h"

namespace uab {

inline constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

// The place of the first identifier, at or behind from, that is the tag's; kNowhere when there is none.
std::size_t FindId(std::span<const std::uint16_t> ids, ULONG tag, std::size_t from = 0) noexcept;

}  // namespace uab
