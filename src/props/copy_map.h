// Which entries have been copied so far in one copying of a whole object, and which must not be copied into: by entry
// identifier, found without walking the others. One thread at a time.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/win32.h"

namespace uab {

class CopyMap {
 public:
  // What is known of an identifier. Without a partner it is off limits: the source or destination of the whole copying,
  // or a list that is being copied.
  struct Node {
    std::optional<std::string> partner;  // the identifier of the copy
  };

  // The latest node of the identifier; null when there is none. Until the next change.
  const Node* Find(std::span<const BYTE> id) const noexcept;

  // Puts a node in the place of the identifier's. E_OUTOFMEMORY: the map is unchanged.
  HRESULT Record(std::span<const BYTE> id, std::span<const BYTE> partner) noexcept;
  HRESULT ForbidEntry(std::span<const BYTE> id) noexcept;

  // The identifier is unknown again.
  void Forget(const std::string& id) noexcept { nodes_.erase(id); }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view id) const noexcept { return std::hash<std::string_view>()(id); }
  };
  HRESULT Put(std::span<const BYTE> id, const std::span<const BYTE>* partner) noexcept;

  std::unordered_map<std::string, Node, Hash, std::equal_to<>> nodes_;
};

std::string_view TextOf(std::span<const BYTE> bytes) noexcept;

}  // namespace uab
