#include "props/prop_list.h"

#include "keluab/tags.h"
#include "platform/at_boundary.h"
#include "props/id_search.h"

namespace uab {

PropNode* PropList::Find(ULONG tag) const noexcept {
  std::size_t index = FindId(ids_, tag);
  return index == kNowhere ? nullptr : nodes_[index].get();
}

PropNode* PropList::FindNext(ULONG tag, std::size_t& cursor) const noexcept {
  std::size_t index = FindId(ids_, tag, cursor);
  if (index == kNowhere && cursor != 0) index = FindId(ids_, tag);
  if (index == kNowhere) return nullptr;
  cursor = index + 1;
  return nodes_[index].get();
}

HRESULT PropList::Append(PropNodePtr node) noexcept {
  return at_boundary([&] {
    ids_.reserve(ids_.capacity() > ids_.size() ? 0 : 2 * ids_.size() + 8);
    nodes_.reserve(nodes_.capacity() > nodes_.size() ? 0 : 2 * nodes_.size() + 8);
    // Both have room: from here on nothing can fail, and they stay parallel.
    ids_.push_back(static_cast<std::uint16_t>(PropId(node->tag())));
    nodes_.push_back(std::move(node));
    return S_OK;
  });
}

HRESULT PropList::Insert(PropNodePtr node) noexcept {
  node->flags = PropNode::kDirty;
  std::size_t index = FindId(ids_, node->tag());
  if (index == kNowhere) return Append(std::move(node));
  node->flags |= nodes_[index]->flags;
  nodes_[index] = std::move(node);
  return S_OK;
}

HRESULT PropList::Set(const SPropValue& value) noexcept {
  PropNodePtr node;
  if (HRESULT hr = MakePropNode(value, node); Failed(hr)) return hr;
  return Insert(std::move(node));
}

HRESULT PropList::SetToStore(const SPropValue& value) noexcept {
  PropNodePtr node;
  if (HRESULT hr = MakePropNode(value, node); Failed(hr)) return hr;
  PropNode* stored = Find(value.ulPropTag);
  if (stored == nullptr || !SameStored(stored->record, node->record)) {
    ClearUnused(node->record);
    return Insert(std::move(node));
  }
  stored->flags |= PropNode::kDirty;
  return S_OK;
}

bool PropList::Remove(ULONG tag) noexcept {
  std::size_t index = FindId(ids_, tag);
  if (index == kNowhere) return false;
  nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(index));
  ids_.erase(ids_.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

void PropList::SetAllDirty(bool dirty) noexcept {
  for (const PropNodePtr& node : nodes_) {
    node->flags = dirty ? node->flags | PropNode::kDirty : node->flags & ~PropNode::kDirty;
  }
}

void PropList::Clear() noexcept {
  nodes_.clear();
  ids_.clear();
}

}  // namespace uab
