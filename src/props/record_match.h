// Comparing a stored property with a caller's value.
#pragma once

#include "props/prop_record.h"

namespace uab {

// S_OK: the record, of the value's identifier, has its tag and its value. MAPI_E_NOT_FOUND: it differs, or is null.
// MAPI_E_NO_SUPPORT: of a type that is not compared (PT_NULL, PT_CURRENCY, PT_APPTIME, PT_OBJECT, PT_SYSTIME,
// multi-valued). Strings compare with case; a NaN equals nothing.
HRESULT MatchRecord(const PropRecord* record, const SPropValue& value) noexcept;

}  // namespace uab
