#include "props/called_objects.h"

namespace uab {

HRESULT GetValues(IMAPIProp* object, const SPropTagArray* tags, ULONG* count, ChainPtr<SPropValue>& values) noexcept {
  *count = 0;
  HRESULT hr =
      call_out([&] { return object->GetProps(const_cast<SPropTagArray*>(tags), MAPI_UNICODE, count, values.Put()); });
  if (Failed(hr)) values.Reset();
  if (!values) *count = 0;
  return hr;
}

HRESULT GetOneProp(IMAPIProp* object, ULONG tag, ChainPtr<SPropValue>& value) noexcept {
  const TagArray<1> tags = {1, {tag}};
  ULONG count = 0;
  HRESULT hr = GetValues(object, tags.address(), &count, value);
  if (count == 0 || value->ulPropTag != tag) value.Reset();
  return hr;
}

void Rewind(IMAPITable* table, const SPropTagArray* columns) noexcept {
  call_out([&] { return table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr); });
  call_out([&] { return table->SetColumns(const_cast<SPropTagArray*>(columns), 0); });
}

HRESULT ReadRow(IMAPITable* table, RowSetPtr& rows, SRow** row) noexcept {
  *row = nullptr;
  HRESULT hr = call_out([&] { return table->QueryRows(1, 0, rows.Put()); });
  if (Failed(hr)) rows.Reset();
  if (rows && rows->cRows != 0) *row = &rows->aRow[0];
  return hr;
}

}  // namespace uab
