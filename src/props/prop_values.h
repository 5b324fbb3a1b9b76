// Finding, listing and copying property values and tags. Plain functions over the caller's memory; what they hand out
// is allocation chain. No lock: the caller owns what it passes.
#pragma once

#include <span>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "keluab/values.h"

namespace uab {

// Whether a search tag names this tag: the same identifier, and the same type unless the search tag's is
// PT_UNSPECIFIED.
constexpr bool TagMatches(ULONG search, ULONG tag) noexcept {
  return PropId(search) == PropId(tag) && (PropType(search) == PT_UNSPECIFIED || PropType(search) == PropType(tag));
}

// The first value that the tag names; null when there is none.
SPropValue* FindProp(SPropValue* values, ULONG count, ULONG tag) noexcept;

// The bytes of a binary value, and of the first PR_ENTRYID among the values; empty when there is none.
std::span<const BYTE> BytesOf(const SBinary& binary) noexcept;
std::span<const BYTE> EntryIdOf(SPropValue* values, ULONG count) noexcept;

// Whether some entry of the array has the tag's identifier and, unless the tag's type is PT_UNSPECIFIED, its type.
bool IsTagListed(ULONG tag, const SPropTagArray* tags) noexcept;

// Removes from tags, in place and in order, every tag that an entry of excluded names. False: an array is null.
bool ExcludeTags(SPropTagArray* tags, const SPropTagArray* excluded) noexcept;

// Stores a new array of the tags whose type is none of PT_OBJECT, PT_BINARY and PT_MV_BINARY. E_INVALIDARG: null, or no
// tags. MAPI_E_NOT_FOUND: none is left.
HRESULT StripObjectAndBinaryTags(const SPropTagArray* tags, SPropTagArray** stripped) noexcept;

// Stores a copy of source as one block, the bytes behind the SBinary; null for null. False: no memory, null is stored.
bool DupBinary(SBinary** copy, const SBinary* source) noexcept;

// Copies a value with its data, which is linked to head. On an error nothing of destination is to be used.
// MAPI_E_NO_SUPPORT: a multi-valued type that is not in the table.
HRESULT CopyValue(SPropValue& destination, const SPropValue& source, void* head) noexcept;

// The same for a multi-valued value.
HRESULT CopyMultiValue(SPropValue& destination, const SPropValue& source, void* head) noexcept;

// A place for a property that is missing.
constexpr SPropValue NotFoundValue(ULONG tag) noexcept {
  SPropValue value{};
  value.ulPropTag = WithPropType(tag, PT_ERROR);
  value.Value.err = MAPI_E_NOT_FOUND;
  return value;
}

}  // namespace uab
