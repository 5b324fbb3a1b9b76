// Expanding distribution lists of 1,000 to 100,000 members, in one list or in 1,000 nested ones. The floor reads the
// same rows of the same provider and frees them; what is above it is the library's own share.
#include "session/dist_list_expansion.h"

#include <cstring>
#include <vector>

#include "benchmarks/bare_objects.h"
#include "benchmarks/with_floor.h"
#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "platform/com_ptr.h"
#include "support/enlist.h"
#include "tests/support/refusing_objects.h"

namespace uab {
namespace {

constexpr ULONG kNested = 1000;

struct Id {  // of an entry: flags, the provider's identifier, a number
  BYTE abFlags[4] = {};
  BYTE provider[16] = {1, 2, 3};
  ULONG number = 0;
};

// A provider in memory: list 0 holds users only, or the lists 1 to 1,000, which share the users. Rows are made when
// read.
struct Provider : BareAddrBook {
  struct List : BareContainer {
    struct Table : BareTable {
      HRESULT UAB_CALL SetColumns(SPropTagArray*, ULONG) override { return S_OK; }
      HRESULT UAB_CALL SeekRow(BOOKMARK, LONG, LONG*) override {
        position = 0;
        return S_OK;
      }
      HRESULT UAB_CALL QueryRows(LONG, ULONG, SRowSet** result) override {
        ULONG count = position < size ? 1 : 0;
        ChainPtr<SRowSet> rows;
        if (Failed(AllocateInto(rows, RowSetSize(count)))) return E_OUTOFMEMORY;
        if (count == 1) {
          rows->aRow[0] = {0, 5, NewRow(first + position++, type)};
          rows->cRows = 1;
        }
        *result = rows.Detach();
        return S_OK;
      }
      ULONG position = 0, first = 0, size = 0, type = MAPI_MAILUSER;
    };
    HRESULT UAB_CALL GetContentsTable(ULONG, IMAPITable** result) override {
      table.AddRef();
      *result = &table;
      return S_OK;
    }
    Table table;
  };

  explicit Provider(ULONG members, bool nested) : lists(nested ? kNested + 1 : 1) {
    lists[0].table.first = 1;
    lists[0].table.size = nested ? kNested : members;
    lists[0].table.type = nested ? MAPI_DISTLIST : MAPI_MAILUSER;
    for (ULONG i = 1; i < lists.size(); ++i) {
      lists[i].table.size = members / kNested;
      lists[i].table.first = kNested + i * lists[i].table.size;
    }
  }

  HRESULT UAB_CALL OpenEntry(ULONG, ENTRYID* entry, const IID*, ULONG, ULONG* type, IUnknown** object) override {
    List& list = lists[reinterpret_cast<Id*>(entry)->number];
    list.AddRef();
    *type = MAPI_DISTLIST;
    *object = &list;
    return S_OK;
  }

  static SPropValue* NewRow(ULONG number, ULONG type) {
    static constexpr WCHAR kName[] = UAB_TEXT("A member of a list");
    static constexpr WCHAR kAddressType[] = UAB_TEXT("FAX");
    void* block = nullptr;
    if (Failed(AllocateHead(5 * sizeof(SPropValue), &block))) return nullptr;
    auto* values = static_cast<SPropValue*>(block);
    auto copy = [&](const void* bytes, std::size_t size) {
      if (Succeeded(AllocateLinked(size, values, &block))) std::memcpy(block, bytes, size);
      return block;
    };
    Id id;
    id.number = number;
    values[0] = {PR_ENTRYID, 0, {}};
    values[0].Value.bin = {sizeof(id), static_cast<BYTE*>(copy(&id, sizeof(id)))};
    values[1] = {PR_NULL, 0, {}};
    values[2] = {PR_DISPLAY_NAME_W, 0, {}};
    values[2].Value.lpszW = static_cast<WCHAR*>(copy(kName, sizeof(kName)));
    values[3] = {PR_ADDRTYPE_W, 0, {}};
    values[3].Value.lpszW = static_cast<WCHAR*>(copy(kAddressType, sizeof(kAddressType)));
    values[4] = {PR_OBJECT_TYPE, 0, {}};
    values[4].Value.ul = type;
    return values;
  }

  MAPIUID uid = {{1, 2, 3}};
  std::vector<List> lists;
};

void Expand(benchmark::State& state, bool nested) {
  Provider provider(static_cast<ULONG>(state.range(0)), nested);
  ComPtr<ProviderList> providers;
  if (Failed(ProviderList::Create(providers)) || Failed(Enlist(*providers, provider))) {
    return state.SkipWithError("no memory");
  }
  for (auto _ : state) {
    ChainPtr<ADRLIST> input;
    if (Failed(AllocateInto(input, RowSetSize(1)))) return state.SkipWithError("no memory");
    SPropValue* values = Provider::NewRow(0, MAPI_DISTLIST);
    values[1] = {PR_RECIPIENT_TYPE, 0, {}};
    input->aEntries[0] = {0, 5, values};
    input->cEntries = 1;
    ADRLIST* list = input.Detach();
    HRESULT hr = ReplaceDistLists(*providers, list);
    if (Failed(hr) || list->cEntries != state.range(0)) state.SkipWithError("wrong result");
    UABFreePadrlist(list);
  }
  state.SetComplexityN(state.range(0));
}

// Reads a list's rows; gathers the users' values and frees the lists'.
void Read(Provider& provider, ULONG number, std::vector<SPropValue*>& gathered) {
  Id id;
  id.number = number;
  ULONG type = 0;
  ComPtr<IUnknown> object;
  ComPtr<IMAPITable> table;
  provider.OpenEntry(sizeof(id), reinterpret_cast<ENTRYID*>(&id), nullptr, 0, &type, object.Put());
  static_cast<IMAPIContainer*>(object.Get())->GetContentsTable(MAPI_UNICODE, table.Put());
  table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
  for (;;) {
    RowSetPtr rows;
    table->QueryRows(1, 0, rows.Put());
    if (rows->cRows == 0) return;
    SRow& row = rows->aRow[0];
    if (row.lpProps[4].Value.ul == MAPI_DISTLIST) continue;
    gathered.push_back(row.lpProps);
    row.lpProps = nullptr;
  }
}

void ReadAll(benchmark::State& state, bool nested) {
  Provider provider(static_cast<ULONG>(state.range(0)), nested);
  std::vector<SPropValue*> gathered;
  gathered.reserve(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (ULONG i = 0; i < provider.lists.size(); ++i) Read(provider, i, gathered);
    for (SPropValue* values : gathered) UABFreeBuffer(values);
    gathered.clear();
  }
}

const WithFloor kFlat(
    "expand one list, members", {1'000, 10'000, 100'000}, [](benchmark::State& state) { Expand(state, false); },
    [](benchmark::State& state) { ReadAll(state, false); });
const WithFloor kNestedLists(
    "expand 1000 lists, members", {1'000, 10'000, 100'000}, [](benchmark::State& state) { Expand(state, true); },
    [](benchmark::State& state) { ReadAll(state, true); });

}  // namespace
}  // namespace uab
