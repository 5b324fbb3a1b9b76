#include "addrbook/hierarchy.h"

#include <algorithm>

#include "addrbook/provider_calls.h"
#include "platform/at_boundary.h"

namespace uab {
namespace {

// Places in kHierarchyColumns.
constexpr ULONG kEntryIdColumn = 1;
constexpr ULONG kDepthColumn = 4;

// Hierarchies that a thread builds one inside the other: a provider may hand out the root container for its own.
constexpr int kMaxNesting = 4;
thread_local int nesting = 0;

struct NestingScope : NonCopyable {
  NestingScope() noexcept { ++nesting; }
  ~NestingScope() { --nesting; }
};

HRESULT Append(MemTable& table, ULONG count, SPropValue* values) noexcept {
  return table.AddRow(SRow{0, count, values}, table.row_count());
}

// Opens the containers below one as a table from its first row on.
HRESULT OpenRowsBelow(IAddrBook& address_book, const SBinary& top, ComPtr<IMAPITable>& rows) noexcept {
  ComPtr<IABContainer> container;
  if (HRESULT hr = OpenContainer(address_book, top, container); Failed(hr)) return hr;
  return call_out([&]() -> HRESULT {
    HRESULT hr = container->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, rows.Put());
    if (Failed(hr)) return hr;
    if (!rows) return E_FAIL;
    if (hr = rows->SetColumns(kHierarchyColumns.address(), 0); Failed(hr)) return hr;
    return rows->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
  });
}

// Reads the next row. False: there is none, or it can't be read.
bool ReadRow(IMAPITable& rows, RowSetPtr& row) noexcept {
  HRESULT hr = call_out([&] { return rows.QueryRows(1, 0, row.Put()); });
  return Succeeded(hr) && row && row->cRows != 0;
}

// Adds what can be read; a row that makes no table row is passed over.
void ExpandProvider(IAddrBook& address_book, const SBinary& top, MemTable& table) noexcept {
  ComPtr<IMAPITable> below;
  if (Failed(OpenRowsBelow(address_book, top, below))) return;
  for (RowSetPtr set; ReadRow(*below, set);) {
    SRow& row = set->aRow[0];
    if (row.lpProps == nullptr) continue;
    const ULONG count = std::min(row.cValues, kHierarchyColumns.cValues);
    if (count > kDepthColumn && row.lpProps[kDepthColumn].ulPropTag == PR_DEPTH) {
      ++row.lpProps[kDepthColumn].Value.ul;
    }
    // Out of memory it ends: a provider's table may have no end of its own.
    if (Append(table, count, row.lpProps) == E_OUTOFMEMORY) return;
  }
}

HRESULT AddProvider(IAddrBook& address_book, IAddrBook& provider, ULONG flags, MemTable& table) noexcept {
  ChainPtr<SPropValue> values;
  ULONG count = 0;
  HRESULT hr = ReadProps(provider, kHierarchyColumns.address(), flags & MAPI_UNICODE, &count, values);
  if (count == 0) return hr;
  (void)Append(table, count, values.Get());
  if ((flags & CONVENIENT_DEPTH) == 0 || count <= kEntryIdColumn) return hr;
  const SPropValue& entry = values.Get()[kEntryIdColumn];
  if (entry.ulPropTag == PR_ENTRYID) ExpandProvider(address_book, entry.Value.bin, table);
  return hr;
}

}  // namespace

HRESULT BuildHierarchy(IAddrBook& address_book, ProviderList& providers, ULONG flags,
                       ComPtr<MemTable>& table) noexcept {
  if (nesting == kMaxNesting) return MAPI_E_FOLDER_CYCLE;
  return at_boundary([&]() -> HRESULT {
    NestingScope scope;
    ComPtr<MemTable> built;
    if (HRESULT hr = MemTable::Create(built); Failed(hr)) return hr;
    std::vector<ComPtr<ProviderEntry>> entries;
    if (HRESULT hr = providers.Entries(entries); Failed(hr)) return hr;
    HRESULT last = S_OK;
    for (const ComPtr<ProviderEntry>& entry : entries) {
      if (entry->provider) last = AddProvider(address_book, *entry->provider, flags, *built);
    }
    if (Succeeded(last)) table = std::move(built);
    return last;
  });
}

}  // namespace uab
