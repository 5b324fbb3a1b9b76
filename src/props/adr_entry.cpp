#include "props/adr_entry.h"

#include "frame/allocation_chain.h"
#include "props/prop_values.h"

namespace uab {
namespace {

HRESULT PlaceRequested(const SPropTagArray* tags, const SRow& row, const ADRENTRY& entry, SPropValue* merged) noexcept {
  for (ULONG i = 0; i < tags->cValues; ++i) {
    ULONG tag = tags->aulPropTag[i];
    const SPropValue* found = FindProp(row.lpProps, row.cValues, tag);
    if (found == nullptr) found = FindProp(entry.rgPropVals, entry.cValues, tag);
    if (found == nullptr) {
      merged[i] = NotFoundValue(tag);
    } else if (HRESULT hr = CopyValue(merged[i], *found, merged); Failed(hr)) {
      return hr;
    }
  }
  return S_OK;
}

// Appends the entry's values whose tags are not among the *placed ones yet. Stops at the array's end: a property that
// the entry holds twice may need more places than were counted.
HRESULT PlaceOthers(const ADRENTRY& entry, SPropValue* merged, ULONG capacity, ULONG* placed, bool* overflow) noexcept {
  for (ULONG i = 0; i < entry.cValues; ++i) {
    const SPropValue& value = entry.rgPropVals[i];
    if (FindProp(merged, *placed, value.ulPropTag) != nullptr) continue;
    if (*placed == capacity) {
      *overflow = true;
      return S_OK;
    }
    if (HRESULT hr = CopyValue(merged[*placed], value, merged); Failed(hr)) return hr;
    ++*placed;
  }
  return S_OK;
}

}  // namespace

HRESULT MergeIntoAdrEntry(const SPropTagArray* tags, const SRow& row, ADRENTRY& entry) noexcept {
  if (tags == nullptr) return E_INVALIDARG;
  std::size_t count = entry.cValues;
  for (ULONG i = 0; i < tags->cValues; ++i) {
    if (FindProp(entry.rgPropVals, entry.cValues, tags->aulPropTag[i]) == nullptr) ++count;
  }
  // Tags that repeat a property of the entry are more than were counted.
  std::size_t capacity = count < tags->cValues ? tags->cValues : count;
  ChainPtr<SPropValue> merged;
  if (HRESULT hr = AllocateInto(merged, sizeof(SPropValue) * capacity); Failed(hr)) return hr;
  if (HRESULT hr = PlaceRequested(tags, row, entry, merged.Get()); Failed(hr)) return hr;
  ULONG placed = tags->cValues;
  bool overflow = false;
  HRESULT hr = PlaceOthers(entry, merged.Get(), static_cast<ULONG>(capacity), &placed, &overflow);
  if (Failed(hr)) return hr;
  if (overflow || placed != count) return S_OK;
  UABFreeBuffer(entry.rgPropVals);
  entry.cValues = placed;
  entry.rgPropVals = merged.Detach();
  return S_OK;
}

}  // namespace uab
