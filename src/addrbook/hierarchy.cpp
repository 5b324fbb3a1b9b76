#include "addrbook/hierarchy.h"

#include "platform/at_boundary.h"
#include "session/provided_object.h"

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
HRESULT OpenRowsBelow(ProviderList& providers, const SBinary& top, Provided<IMAPITable>& rows) noexcept {
  Provided<IABContainer> container;
  if (HRESULT hr = OpenContainer(providers, top, container); Failed(hr)) return hr;
  HRESULT hr = rows.ObtainFrom(container, [](IABContainer& from, IMAPITable** table) {
    return from.GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, table);
  });
  if (Failed(hr)) return hr;
  return call_out([&]() -> HRESULT {
    HRESULT result = rows->SetColumns(kHierarchyColumns.address(), 0);
    return Failed(result) ? result : rows->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
  });
}

// Adds what can be read; a row that makes no table row is passed over.
void ExpandProvider(ProviderList& providers, const SBinary& top, MemTable& table) noexcept {
  Provided<IMAPITable> below;
  if (Failed(OpenRowsBelow(providers, top, below))) return;
  RowSetPtr set;
  SRow* row = nullptr;
  while (Succeeded(ReadRow(below.Get(), kHierarchyColumns.cValues, set, &row)) && row != nullptr) {
    if (row->cValues > kDepthColumn && row->lpProps[kDepthColumn].ulPropTag == PR_DEPTH) {
      ++row->lpProps[kDepthColumn].Value.ul;
    }
    // Out of memory it ends: a provider's table may have no end of its own.
    if (Append(table, row->cValues, row->lpProps) == E_OUTOFMEMORY) return;
  }
}

HRESULT AddProvider(ProviderList& providers, IAddrBook& provider, ULONG flags, MemTable& table) noexcept {
  ChainPtr<SPropValue> values;
  ULONG count = 0;
  HRESULT hr = GetValues(&provider, kHierarchyColumns.address(), flags & MAPI_UNICODE, &count, values);
  if (count == 0) return hr;
  (void)Append(table, count, values.Get());
  if ((flags & CONVENIENT_DEPTH) == 0 || count <= kEntryIdColumn) return hr;
  const SPropValue& entry = values.Get()[kEntryIdColumn];
  if (entry.ulPropTag == PR_ENTRYID) ExpandProvider(providers, entry.Value.bin, table);
  return hr;
}

}  // namespace

HRESULT BuildHierarchy(ProviderList& providers, ULONG flags, ComPtr<MemTable>& table) noexcept {
  if (nesting == kMaxNesting) return MAPI_E_FOLDER_CYCLE;
  return at_boundary([&]() -> HRESULT {
    NestingScope scope;
    ComPtr<MemTable> built;
    if (HRESULT hr = MemTable::Create(built); Failed(hr)) return hr;
    std::vector<ComPtr<ProviderEntry>> entries;
    if (HRESULT hr = providers.Entries(entries); Failed(hr)) return hr;
    HRESULT last = S_OK;
    for (const ComPtr<ProviderEntry>& entry : entries) {
      if (entry->provider) last = AddProvider(providers, *entry->provider, flags, *built);
    }
    if (Succeeded(last)) table = std::move(built);
    return last;
  });
}

}  // namespace uab
