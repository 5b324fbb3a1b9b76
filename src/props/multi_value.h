// The out-of-line block of a multi-valued property: one layout in caller's memory, in property records and in the
// registry. For the string types n pointers come first and the strings follow, packed in order, each with its
// terminator; for PT_MV_BINARY n SBinary entries come first and the byte runs follow; for the other types it is the
// plain array. Sizes are bytes.
#pragma once

#include <cstddef>

#include "keluab/tags.h"
#include "keluab/values.h"
#include "platform/win32.h"

namespace uab {

constexpr bool IsMultiValued(ULONG tag) noexcept { return (tag & MV_FLAG) != 0; }

// Whether the type is in the table of multi-valued types.
bool IsKnownMultiValue(ULONG type) noexcept;

// Stores the size of the value's block. MAPI_E_NO_SUPPORT: a type that is not in the table. E_INVALIDARG: values
// counted, but no array.
HRESULT MeasureMultiValue(const SPropValue& value, std::size_t* size) noexcept;

// Writes the value's block. With keep_pointers, pointers in it point into it; without, they are zero.
// REQUIRES: block has the measured size and is zeroed.
void WriteMultiValue(const SPropValue& value, BYTE* block, bool keep_pointers) noexcept;

// Points the elements of a copied block of value's type at their data inside it, and the value at the block. The bytes
// are not trusted: false when they don't add up; the block is then no block of the value.
bool AdoptMultiValue(SPropValue& value, BYTE* block, std::size_t size) noexcept;

}  // namespace uab
