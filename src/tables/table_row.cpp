#include "tables/table_row.h"

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "props/prop_values.h"

namespace uab {
namespace {

HRESULT ReadAll(const TableRow& row, SPropValue* values) noexcept {
  SPropValue* next = values;
  for (const PropNodePtr& node : row.nodes()) {
    if (HRESULT hr = ReadPropRecord(node->record, values, *next++); Failed(hr)) return hr;
  }
  return S_OK;
}

HRESULT ReadColumns(const TableRow& row, const SPropTagArray& columns, SPropValue* values) noexcept {
  HRESULT status = S_OK;
  for (ULONG i = 0; i < columns.cValues; ++i) {
    ULONG tag = columns.aulPropTag[i];
    if (tag == PR_NULL) {
      values[i].ulPropTag = PR_NULL;
    } else if (const PropNode* node = row.Find(tag)) {
      if (HRESULT hr = ReadPropRecord(node->record, values, values[i]); Failed(hr)) return hr;
    } else {
      values[i] = NotFoundValue(tag);
      status = MAPI_W_ERRORS_RETURNED;
    }
  }
  return status;
}

}  // namespace

HRESULT BuildTableRow(const SRow& row, TableRow& built) noexcept {
  if (row.cValues == 0 || row.lpProps == nullptr) return E_INVALIDARG;
  if (HRESULT hr = built.Reserve(row.cValues); Failed(hr)) return hr;
  for (ULONG i = 0; i < row.cValues; ++i) {
    PropNodePtr node;
    if (HRESULT hr = MakePropNode(row.lpProps[i], node); Failed(hr)) return hr;
    if (HRESULT hr = built.Append(std::move(node)); Failed(hr)) return hr;
  }
  return S_OK;
}

HRESULT ProjectRow(const TableRow& row, const SPropTagArray* columns, SRow& projected) noexcept {
  if (columns != nullptr && columns->cValues == 0) return E_INVALIDARG;
  std::size_t count = columns != nullptr ? columns->cValues : row.count();
  ChainPtr<SPropValue> values;
  if (HRESULT hr = AllocateInto(values, sizeof(SPropValue) * count); Failed(hr)) return hr;
  HRESULT status = columns != nullptr ? ReadColumns(row, *columns, values.Get()) : ReadAll(row, values.Get());
  if (Failed(status)) return status;
  projected.cValues = static_cast<ULONG>(count);
  projected.lpProps = values.Detach();
  return status;
}

HRESULT ListTags(const TableRow& row, SPropTagArray** tags) noexcept {
  ChainPtr<SPropTagArray> result;
  if (HRESULT hr = AllocateInto(result, TagArraySize(row.count())); Failed(hr)) return hr;
  for (const PropNodePtr& node : row.nodes()) result->aulPropTag[result->cValues++] = node->tag();
  *tags = result.Detach();
  return S_OK;
}

}  // namespace uab
