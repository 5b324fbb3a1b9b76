// Property values drawn from the input: of every type, with null where a pointer may be null, and memory behind every
// count. Their data is linked to a head block of the allocation chain.
#pragma once

#include <vector>

#include "frame/allocation_chain.h"
#include "fuzz/input.h"
#include "keluab/tags.h"

namespace uab::fuzz {

// A tag that the library knows, or any identifier with a type that it knows, or any tag at all.
ULONG DrawTag(Input& input);

// The value of a tag. ids: what byte runs are often taken from.
SPropValue DrawValue(Input& input, ULONG tag, void* head, std::span<const std::string> ids = {});

// A value array as a head block; null for none.
ChainPtr<SPropValue> DrawValues(Input& input, ULONG count, std::span<const std::string> ids = {});

// An array of up to most tags; null for none.
ChainPtr<SPropTagArray> DrawTags(Input& input, std::size_t most);

// Whether two values say the same, the data compared and not its address. A null string is an empty one.
bool SameValue(const SPropValue& a, const SPropValue& b);

}  // namespace uab::fuzz
