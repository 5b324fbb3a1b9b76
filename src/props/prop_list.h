// The property set of a table row, a profile section or the address book: properties as records, in the order in which
// they were first stored. No lock: the object that owns the list guards it.
#pragma once

#include <cstdint>
#include <vector>

#include "keluab/values.h"
#include "platform/prefetch.h"
#include "props/prop_record.h"

namespace uab {

class PropList {
 public:
  PropList() noexcept = default;
  PropList(PropList&& other) noexcept = default;
  PropList& operator=(PropList&& other) noexcept = default;

  std::size_t count() const noexcept { return nodes_.size(); }
  bool empty() const noexcept { return nodes_.empty(); }
  const std::vector<PropNodePtr>& nodes() const noexcept { return nodes_; }

  // Stores a copy of the value. A property of the same identifier, whatever its type, is replaced in its place; another
  // is appended. The node is dirty. Errors of MakePropNode; the list is then unchanged.
  HRESULT Set(const SPropValue& value) noexcept;

  // The same for a node that is made already; the list owns it. E_OUTOFMEMORY: the list is unchanged, the node freed.
  HRESULT Insert(PropNodePtr node) noexcept;

  // Makes room for count nodes in all. E_OUTOFMEMORY: the list is unchanged.
  HRESULT Reserve(std::size_t count) noexcept;

  // Appends a node without looking for one to replace; its flags stay. E_OUTOFMEMORY as in Insert.
  HRESULT Append(PropNodePtr node) noexcept;

  // The first property of the tag's identifier, whatever its type; null when there is none. Linear, over packed
  // identifiers.
  PropNode* Find(ULONG tag) const noexcept;

  // The same for a list that holds no identifier twice, read in about its own order: the search starts at cursor, which
  // begins at 0 and is left behind what was found, and goes on from the first property.
  PropNode* FindNext(ULONG tag, std::size_t& cursor) const noexcept;

  // S_OK: the first property of the value's identifier has its tag and its value. MAPI_E_NOT_FOUND: it differs, or
  // there is none. MAPI_E_NO_SUPPORT: of a type that is not compared (PT_NULL, PT_CURRENCY, PT_APPTIME, PT_OBJECT,
  // PT_SYSTIME, multi-valued). Strings compare with case; a NaN equals nothing.
  HRESULT Matches(const SPropValue& value) const noexcept;

  // Removes the first property of the tag's identifier. False: there is none.
  bool Remove(ULONG tag) noexcept;

  void SetAllDirty(bool dirty) noexcept;

  void Clear() noexcept;

  // Tells the processor that the list will be read: soon, or right after that. The second is what the first needs.
  void PrefetchNodes() const noexcept {
    for (const PropNodePtr& node : nodes_) UAB_PREFETCH(node.get());
  }
  void PrefetchPointers() const noexcept { UAB_PREFETCH(nodes_.data()); }

 private:
  static constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);
  std::size_t IndexOf(ULONG tag, std::size_t from = 0) const noexcept;  // at or behind from

  std::vector<PropNodePtr> nodes_;
  std::vector<std::uint16_t> ids_;  // of nodes_, packed for the search
};

}  // namespace uab
