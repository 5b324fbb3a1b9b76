// Address lists for tests.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "frame/allocation_chain.h"
#include "props/prop_values.h"

namespace uab {

struct AdrListPolicy {
  using Handle = ADRLIST*;
  static constexpr Handle kNone = nullptr;
  static void Close(Handle list) noexcept { UABFreePadrlist(list); }
};
using AdrListPtr = UniqueResource<AdrListPolicy>;

// Copies of the values as a value array of its own. Throws when there is no memory.
inline SPropValue* MakeValues(const std::vector<SPropValue>& values) {
  ChainPtr<SPropValue> copy;
  HRESULT hr = AllocateInto(copy, values.size() * sizeof(SPropValue));
  for (std::size_t i = 0; i < values.size() && Succeeded(hr); ++i) hr = CopyValue(copy.Get()[i], values[i], copy.Get());
  if (Failed(hr)) throw std::bad_alloc();
  return copy.Detach();
}

// One entry for each set of values; one without a value array for an empty set.
inline AdrListPtr MakeAdrList(const std::vector<std::vector<SPropValue>>& entries) {
  void* block = nullptr;
  if (Failed(AllocateHead(RowSetSize(entries.size()), &block))) throw std::bad_alloc();
  AdrListPtr list(static_cast<ADRLIST*>(block));
  for (const auto& values : entries) {
    SPropValue* copy = values.empty() ? nullptr : MakeValues(values);
    list->aEntries[list->cEntries++] = {0, std::max(ULONG{1}, static_cast<ULONG>(values.size())), copy};
  }
  return list;
}

// Short forms for identifiers; they borrow the string.
inline ENTRYID* EntryIn(const std::string& id) { return reinterpret_cast<ENTRYID*>(const_cast<char*>(id.data())); }
inline ULONG SizeOf(const std::string& id) { return static_cast<ULONG>(id.size()); }
inline SBinary BinaryIn(const std::string& id) { return {SizeOf(id), reinterpret_cast<BYTE*>(EntryIn(id))}; }
inline std::string Bytes(const void* bytes, std::size_t size) { return {static_cast<const char*>(bytes), size}; }

}  // namespace uab
