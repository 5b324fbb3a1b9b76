// Copies property values from one object to another, as far as they mean the same there: error, object, binary and
// multi-valued binary values stay behind.
#pragma once

#include "keluab/props.h"

namespace uab {

// Copies the listed properties, or all when tags is null. MAPI_NOREPLACE: only those that the destination answers with
// MAPI_E_NOT_FOUND; E_FAIL when it answers with another number of values. problems may be null, or receives null or the
// destination's problems, which the caller frees. E_INVALIDARG: an object is null. Otherwise what the objects answer.
HRESULT PlainCopy(const SPropTagArray* tags, IUnknown* source, IUnknown* destination, ULONG flags,
                  SPropProblemArray** problems) noexcept;

}  // namespace uab
