#include "props/called_objects.h"

#include <algorithm>

namespace uab {
namespace {

// How many of count things there can be in the block.
ULONG InBlock(ULONG count, const void* block, std::size_t in_front, std::size_t each) noexcept {
  const std::size_t size = HeadSize(block);
  return size < in_front ? 0 : static_cast<ULONG>(std::min<std::size_t>(count, (size - in_front) / each));
}

ULONG ValuesIn(const SPropValue* values, ULONG count) noexcept { return InBlock(count, values, 0, sizeof(SPropValue)); }

}  // namespace

HRESULT GetValues(IMAPIProp* object, const SPropTagArray* tags, ULONG flags, ULONG* count,
                  ChainPtr<SPropValue>& values) noexcept {
  ULONG stored = 0;
  HRESULT hr =
      call_out([&] { return object->GetProps(const_cast<SPropTagArray*>(tags), flags, &stored, values.Put()); });
  if (Failed(hr)) values.Reset();
  if (tags != nullptr) stored = std::min(stored, tags->cValues);
  *count = ValuesIn(values.Get(), stored);
  return hr;
}

HRESULT GetOneProp(IMAPIProp* object, ULONG tag, ChainPtr<SPropValue>& value) noexcept {
  const TagArray<1> tags = {1, {tag}};
  ULONG count = 0;
  HRESULT hr = GetValues(object, tags.address(), MAPI_UNICODE, &count, value);
  if (count == 0 || value->ulPropTag != tag) value.Reset();
  return hr;
}

HRESULT GetTags(IMAPIProp* object, ULONG flags, ChainPtr<SPropTagArray>& tags) noexcept {
  HRESULT hr = call_out([&] { return object->GetPropList(flags, tags.Put()); });
  if (Failed(hr) || HeadSize(tags.Get()) < TagArraySize(0)) tags.Reset();
  if (tags) tags->cValues = InBlock(tags->cValues, tags.Get(), TagArraySize(0), sizeof(ULONG));
  return hr;
}

void Rewind(IMAPITable* table, const SPropTagArray* columns) noexcept {
  call_out([&] { return table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr); });
  call_out([&] { return table->SetColumns(const_cast<SPropTagArray*>(columns), 0); });
}

HRESULT ReadRows(IMAPITable* table, ULONG columns, RowSetPtr& rows) noexcept {
  HRESULT hr = call_out([&] { return table->QueryRows(1, 0, rows.Put()); });
  if (rows && HeadSize(rows.Get()) < RowSetSize(0)) UABFreeBuffer(rows.Detach());  // not even room for a count
  if (!rows) return hr;
  rows->cRows = InBlock(rows->cRows, rows.Get(), RowSetSize(0), sizeof(SRow));
  for (ULONG i = 0; i < rows->cRows; ++i) {
    SRow& row = rows->aRow[i];
    row.cValues = ValuesIn(row.lpProps, std::min(row.cValues, columns));
  }
  if (Failed(hr) || rows->cRows == 0) rows.Reset();
  return hr;
}

HRESULT ReadRow(IMAPITable* table, ULONG columns, RowSetPtr& rows, SRow** row) noexcept {
  HRESULT hr = ReadRows(table, columns, rows);
  *row = rows ? &rows->aRow[0] : nullptr;
  return hr;
}

}  // namespace uab
