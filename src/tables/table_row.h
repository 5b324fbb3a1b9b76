// One row of a table: a property list, built from a caller's row as it stands and read out through a column set.
#pragma once

#include "keluab/values.h"
#include "props/prop_list.h"

namespace uab {

using TableRow = PropList;

// Appends copies of the row's values, repeats included. E_INVALIDARG: no values. Errors of MakePropNode; built is then
// not to be used. REQUIRES: built is empty.
HRESULT BuildTableRow(const SRow& row, TableRow& built) noexcept;

// Stores a value for each column in its order, or without columns every property; the value array is a head block of
// its own. A property is looked up by identifier and shows its stored type; a missing one is a PT_ERROR value holding
// MAPI_E_NOT_FOUND, and the result MAPI_W_ERRORS_RETURNED. E_INVALIDARG: columns without tags. On an error projected is
// left as it is.
HRESULT ProjectRow(const TableRow& row, const SPropTagArray* columns, SRow& projected) noexcept;

// Stores the row's tags in order as a new array.
HRESULT ListTags(const TableRow& row, SPropTagArray** tags) noexcept;

}  // namespace uab
