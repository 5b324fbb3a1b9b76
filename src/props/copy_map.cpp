#include "props/copy_map.h"

#include "platform/at_boundary.h"

namespace uab {

std::string_view TextOf(std::span<const BYTE> bytes) noexcept {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

const CopyMap::Node* CopyMap::Find(std::span<const BYTE> id) const noexcept {
  auto found = nodes_.find(TextOf(id));
  return found == nodes_.end() ? nullptr : &found->second;
}

HRESULT CopyMap::Record(std::span<const BYTE> id, std::span<const BYTE> partner) noexcept { return Put(id, &partner); }

HRESULT CopyMap::ForbidEntry(std::span<const BYTE> id) noexcept { return Put(id, nullptr); }

HRESULT CopyMap::Put(std::span<const BYTE> id, const std::span<const BYTE>* partner) noexcept {
  return at_boundary([&]() -> HRESULT {
    Node node;
    if (partner != nullptr) node.partner.emplace(TextOf(*partner));
    nodes_.insert_or_assign(std::string(TextOf(id)), std::move(node));
    return S_OK;
  });
}

}  // namespace uab
