// The property set of a profile section or the address book: properties as records, in the order in which they were
// first stored. No lock: the object that owns the list guards it.
#pragma once

#include <cstdint>
#include <vector>

#include "keluab/values.h"
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

  // The same for a set that is stored: without the bytes that mean nothing there, and a property that says the same
  // already keeps its record as it was read.
  HRESULT SetToStore(const SPropValue& value) noexcept;

  // The same for a node that is made already; the list owns it. E_OUTOFMEMORY: the list is unchanged, the node freed.
  HRESULT Insert(PropNodePtr node) noexcept;

  // Appends a node without looking for one to replace; its flags stay. E_OUTOFMEMORY as in Insert.
  HRESULT Append(PropNodePtr node) noexcept;

  // The first property of the tag's identifier, whatever its type; null when there is none. Linear, over packed
  // identifiers.
  PropNode* Find(ULONG tag) const noexcept;

  // The same for a list that holds no identifier twice, read in about its own order: the search starts at cursor, which
  // begins at 0 and is left behind what was found, and goes on from the first property.
  PropNode* FindNext(ULONG tag, std::size_t& cursor) const noexcept;

  // Removes the first property of the tag's identifier. False: there is none.
  bool Remove(ULONG tag) noexcept;

  void SetAllDirty(bool dirty) noexcept;

  void Clear() noexcept;

 private:
  std::vector<PropNodePtr> nodes_;
  std::vector<std::uint16_t> ids_;  // of nodes_, packed for the search
};

}  // namespace uab
