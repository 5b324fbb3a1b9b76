// Merging requested properties into an address list's entry.
#pragma once

#include "keluab/values.h"
#include "platform/win32.h"

namespace uab {

// Rebuilds the entry's value array: first a value for each tag, in the tags' order, from row, else from the entry, else
// a PT_ERROR value holding MAPI_E_NOT_FOUND; behind them the entry's other values in their order. The new array
// replaces the old one, which is freed, only when everything fits the count worked out beforehand: tags that name a
// property twice, or an entry that holds one twice, may leave the entry as it was, with S_OK. On an error the entry is
// unchanged. E_OUTOFMEMORY; MAPI_E_NO_SUPPORT: a multi-valued type that is not in the table.
HRESULT MergeIntoAdrEntry(const SPropTagArray* tags, const SRow& row, ADRENTRY& entry) noexcept;

}  // namespace uab
