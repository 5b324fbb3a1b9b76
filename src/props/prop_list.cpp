#include "props/prop_list.h"

#include <bit>
#include <cstring>

#include "keluab/tags.h"
#include "platform/at_boundary.h"

namespace uab {
namespace {

bool SameBytes(const PropRecord& record, const void* data, std::size_t size) noexcept {
  return record.dataLength == size && (size == 0 || (data != nullptr && std::memcmp(record.data(), data, size) == 0));
}

HRESULT FoundIf(bool equal) noexcept { return equal ? S_OK : MAPI_E_NOT_FOUND; }

// A null string compares as an empty one, as it is stored.
HRESULT MatchText(const PropRecord& record, const char* text) noexcept {
  return FoundIf(SameBytes(record, text == nullptr ? "" : text, static_cast<std::size_t>(lstrlenA(text)) + 1));
}
HRESULT MatchText(const PropRecord& record, const WCHAR* text) noexcept {
  std::size_t size = 2 * (static_cast<std::size_t>(lstrlenW(text)) + 1);
  return FoundIf(SameBytes(record, text == nullptr ? UAB_TEXT("") : text, size));
}

}  // namespace

// Four identifiers at a time: a word has a zero in the place of one that is equal, and its borrow marks the lowest such
// place exactly.
std::size_t PropList::IndexOf(ULONG tag, std::size_t from) const noexcept {
  constexpr std::uint64_t kOnes = 0x0001000100010001u;
  constexpr std::uint64_t kTops = 0x8000800080008000u;
  const auto id = static_cast<std::uint16_t>(PropId(tag));
  const std::uint64_t wanted = kOnes * id;
  const std::size_t count = ids_.size();
  std::size_t at = from;
  for (; at + 4 <= count; at += 4) {
    std::uint64_t word;
    std::memcpy(&word, ids_.data() + at, sizeof word);
    word ^= wanted;
    const std::uint64_t zeros = (word - kOnes) & ~word & kTops;
    if (zeros != 0) return at + static_cast<std::size_t>(std::countr_zero(zeros)) / 16;
  }
  for (; at < count; ++at) {
    if (ids_[at] == id) return at;
  }
  return kNowhere;
}

PropNode* PropList::Find(ULONG tag) const noexcept {
  std::size_t index = IndexOf(tag);
  return index == kNowhere ? nullptr : nodes_[index].get();
}

PropNode* PropList::FindNext(ULONG tag, std::size_t& cursor) const noexcept {
  std::size_t index = IndexOf(tag, cursor);
  if (index == kNowhere && cursor != 0) index = IndexOf(tag);
  if (index == kNowhere) return nullptr;
  cursor = index + 1;
  return nodes_[index].get();
}

HRESULT PropList::Reserve(std::size_t count) noexcept {
  return at_boundary([&] {
    ids_.reserve(count);
    nodes_.reserve(count);
    return S_OK;
  });
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
  std::size_t index = IndexOf(node->tag());
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

HRESULT PropList::Matches(const SPropValue& value) const noexcept {
  const PropNode* node = Find(value.ulPropTag);
  if (node == nullptr || node->tag() != value.ulPropTag) return MAPI_E_NOT_FOUND;
  const PropRecord& record = node->record;
  const SPropValueUnion& stored = record.value.Value;
  const SPropValueUnion& given = value.Value;
  switch (PropType(value.ulPropTag)) {
    case PT_I2:
    case PT_BOOLEAN:
      return FoundIf(stored.i == given.i);
    case PT_LONG:
    case PT_ERROR:
      return FoundIf(stored.l == given.l);
    case PT_R4:
      return FoundIf(stored.flt == given.flt);
    case PT_DOUBLE:
      return FoundIf(stored.dbl == given.dbl);
    case PT_I8:
      return FoundIf(stored.li == given.li);
    case PT_STRING8:
      return MatchText(record, given.lpszA);
    case PT_UNICODE:
      return MatchText(record, given.lpszW);
    case PT_CLSID:
      return FoundIf(SameBytes(record, given.lpguid, sizeof(GUID)));
    case PT_BINARY:
      return FoundIf(SameBytes(record, given.bin.lpb, given.bin.cb));
    default:
      return MAPI_E_NO_SUPPORT;
  }
}

bool PropList::Remove(ULONG tag) noexcept {
  std::size_t index = IndexOf(tag);
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
