// Calls into other people's objects with their answers checked: a throw is a failure, a success without an object is
// one too, and what a failing call has stored is given back. No count is believed beyond what was asked for and what
// its block has room for.
#pragma once

#include "frame/allocation_chain.h"
#include "keluab/iids.h"
#include "keluab/props.h"
#include "keluab/tables.h"
#include "keluab/tags.h"
#include "platform/at_boundary.h"
#include "platform/com_ptr.h"

namespace uab {

// Runs a call that stores an object. missing: the result of a success without one.
template <typename T, typename Call>
HRESULT CallForObject(ComPtr<T>& object, Call&& call, HRESULT missing = E_FAIL) noexcept {
  HRESULT hr = call_out(call);
  if (Failed(hr)) object.Reset();
  return Succeeded(hr) && !object ? missing : hr;
}

template <typename T>
HRESULT AskFor(IUnknown* unknown, const IID& iid, ComPtr<T>& object) noexcept {
  return CallForObject(
      object, [&] { return unknown->QueryInterface(iid, object.PutVoid()); }, E_NOINTERFACE);
}

// Stores one property, in an array that owns its data: null when the object answers with none or with something else
// than the tag.
HRESULT GetOneProp(IMAPIProp* object, ULONG tag, ChainPtr<SPropValue>& value) noexcept;

// Stores the values and their number; none when the call answers without an array. They are of any tag and type.
HRESULT GetValues(IMAPIProp* object, const SPropTagArray* tags, ULONG flags, ULONG* count,
                  ChainPtr<SPropValue>& values) noexcept;

// Stores the tags of an object's properties; none when the call answers without an array.
HRESULT GetTags(IMAPIProp* object, ULONG flags, ChainPtr<SPropTagArray>& tags) noexcept;

// Positions a table in front of its first row and sets its columns. A table that refuses is read as it is.
void Rewind(IMAPITable* table, const SPropTagArray* columns) noexcept;

// Stores what a table answers when it is asked for its next row, with at most so many columns; none at the end. A row
// may be without values.
HRESULT ReadRows(IMAPITable* table, ULONG columns, RowSetPtr& rows) noexcept;

// The same for one row, which rows owns; null at the end.
HRESULT ReadRow(IMAPITable* table, ULONG columns, RowSetPtr& rows, SRow** row) noexcept;

}  // namespace uab
