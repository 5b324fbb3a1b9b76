// How an entry identifier names its owner: bytes 4 to 19 are the MAPIUID that the owning provider registered. Sizes are
// bytes.
#pragma once

#include <cstring>
#include <span>

#include "keluab/iids.h"
#include "keluab/values.h"

namespace uab {

// The shortest identifier that can be routed: the flags and the MAPIUID.
inline constexpr ULONG kRoutableSize = 20;

inline bool IsRoutable(ULONG size, const ENTRYID* entry) noexcept { return entry != nullptr && size >= kRoutableSize; }

// REQUIRES: routable.
inline MAPIUID UidOf(const void* entry) noexcept {
  MAPIUID uid;
  std::memcpy(&uid, static_cast<const BYTE*>(entry) + offsetof(ENTRYID, ab), sizeof(uid));
  return uid;
}

// Whether it is the session's own identifier, which names no entry. A longer one that carries IdentityUID is not.
// REQUIRES: routable.
inline bool IsIdentity(ULONG size, const ENTRYID* entry) noexcept {
  if (size != kRoutableSize) return false;
  MAPIUID uid = UidOf(entry);
  return std::memcmp(&uid, &IdentityUID, sizeof(uid)) == 0;
}

inline ENTRYID* EntryAt(const SBinary& entry) noexcept { return reinterpret_cast<ENTRYID*>(entry.lpb); }

}  // namespace uab
