// The address book's own share of what it does with its providers. Floors call the same providers directly: with groups
// known beforehand, with the owner known beforehand, or reading the same rows and keeping as much of them.
#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include "addrbook/addr_book.h"
#include "addrbook/hierarchy.h"
#include "benchmarks/bare_objects.h"
#include "benchmarks/with_floor.h"
#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "support/hive.h"

namespace uab {
namespace {

struct Id {
  BYTE abFlags[4] = {};
  struct {
    ULONG provider, number;
    BYTE rest[8];
  } uid = {};
  ULONG entry = 0;
};
static_assert(sizeof(Id) == 24);

Id IdFor(ULONG provider, ULONG number, ULONG entry) {
  Id id;
  id.uid.provider = provider;
  id.uid.number = number;
  id.entry = entry;
  return id;
}

// Entries cost nothing; the top-level container has others below it, whose rows are made when read.
struct Provider : BareAddrBook {
  struct Container : BareContainer {
    struct Table : BareTable {
      HRESULT UAB_CALL SetColumns(SPropTagArray*, ULONG) override { return S_OK; }
      HRESULT UAB_CALL SeekRow(BOOKMARK, LONG, LONG*) override {
        position = 0;
        return S_OK;
      }
      HRESULT UAB_CALL QueryRows(LONG, ULONG, SRowSet** result) override {
        const ULONG count = position < size ? 1 : 0;
        ChainPtr<SRowSet> rows;
        if (Failed(AllocateInto(rows, RowSetSize(count)))) return E_OUTOFMEMORY;
        if (count == 1) {
          rows->aRow[0] = {0, 5, NewRow(IdFor(number, 0, ++position))};
          rows->cRows = 1;
        }
        *result = rows.Detach();
        return S_OK;
      }
      ULONG number = 0, position = 0, size = 0;
    };
    HRESULT UAB_CALL GetHierarchyTable(ULONG, IMAPITable** result) override {
      table.AddRef();
      *result = &table;
      return S_OK;
    }
    Table table;
  };

  static SPropValue* NewRow(const Id& id) {
    static constexpr WCHAR kName[] = UAB_TEXT("A container");
    void* block = nullptr;
    if (Failed(AllocateHead(5 * sizeof(SPropValue), &block))) return nullptr;
    auto* values = static_cast<SPropValue*>(block);
    auto copy = [&](const void* bytes, std::size_t size) {
      void* data = nullptr;
      if (Succeeded(AllocateLinked(size, values, &data))) std::memcpy(data, bytes, size);
      return data;
    };
    const ULONG tags[] = {PR_DISPLAY_NAME_W, PR_ENTRYID, PR_OBJECT_TYPE, PR_CONTAINER_FLAGS, PR_DEPTH};
    for (ULONG i = 0; i < 5; ++i) values[i].ulPropTag = tags[i];
    values[0].Value.lpszW = static_cast<WCHAR*>(copy(kName, sizeof(kName)));
    values[1].Value.bin = {sizeof(id), static_cast<BYTE*>(copy(&id, sizeof(id)))};
    values[2].Value.ul = MAPI_ABCONT;
    values[3].Value.ul = AB_SUBCONTAINERS;
    return values;
  }

  HRESULT UAB_CALL GetProps(SPropTagArray*, ULONG, ULONG* count, SPropValue** values) override {
    *count = 5;
    *values = NewRow(IdFor(top.table.number, 0, 0));
    return *values != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT UAB_CALL OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG* type, IUnknown** object) override {
    top.AddRef();
    *type = MAPI_ABCONT;
    *object = &top;
    return S_OK;
  }
  HRESULT UAB_CALL PrepareRecips(ULONG, SPropTagArray*, ADRLIST* list) override {
    benchmark::DoNotOptimize(list->cEntries);
    return S_OK;
  }

  Container top;
};

// A session's address book over providers 0, 1, ..., each with so many identifiers and containers.
struct Session {
  Session(ULONG count, ULONG uids, ULONG containers) : providers(count) {
    ok = Succeeded(ProviderList::Create(list));
    for (ULONG i = count; ok && i-- > 0;) {
      providers[i].top.table.number = i;
      providers[i].top.table.size = containers;
      ComPtr<ProviderEntry> entry;
      ComPtr<ProviderSupport> support;
      ok = Succeeded(ProviderEntry::Create(*list, entry)) && Succeeded(entry->MakeSupport(support));
      for (ULONG number = 0; ok && number < uids; ++number) {
        MAPIUID uid;
        const Id id = IdFor(i, number, 0);
        std::memcpy(&uid, &id.uid, sizeof(uid));
        ok = Succeeded(support->SetProviderUID(&uid, 0));
      }
      if (!ok) return;
      entry->provider = ComPtr<IAddrBook>(&providers[i]);
      ok = Succeeded(list->PushFront(std::move(entry)));
    }
    ok = ok && Succeeded(AddrBook::Create(list, UAB_TEXT("Benchmark"), UAB_TEXT("Profile"), book));
  }

  TestHive hive;
  std::deque<Provider> providers;
  ComPtr<ProviderList> list;
  ComPtr<AddrBook> book;
  bool ok = false;
};

// Recipients of all providers and identifiers by turns, in a list that each round starts from.
struct Recipients {
  Recipients(ULONG count, ULONG providers) : ids(count), values(count), block(1 + 2 * std::size_t{count}) {
    list()->cEntries = count;
    for (ULONG i = 0; i < count; ++i) {
      ids[i] = IdFor(i * 7 % providers, i / 3 % 8, i);
      values[i].ulPropTag = PR_ENTRYID;
      values[i].Value.bin = {sizeof(Id), reinterpret_cast<BYTE*>(&ids[i])};
      list()->aEntries[i] = {0, 1, &values[i]};
    }
    fresh = block;
  }
  ADRLIST* list() { return reinterpret_cast<ADRLIST*>(block.data()); }
  void Restart() { std::memcpy(block.data(), fresh.data(), sizeof(ULONG_PTR) * block.size()); }

  std::vector<Id> ids;
  std::vector<SPropValue> values;
  std::vector<ULONG_PTR> block, fresh;
};

template <ULONG kProviders>
void Prepare(benchmark::State& state) {
  Session session(kProviders, 8, 0);
  Recipients recipients(static_cast<ULONG>(state.range(0)), kProviders);
  for (auto _ : state) {
    recipients.Restart();
    if (!session.ok || session.book->PrepareRecips(0, nullptr, recipients.list()) != S_OK) {
      return state.SkipWithError("not prepared");
    }
  }
}

template <ULONG kProviders>
void PrepareFloor(benchmark::State& state) {
  const auto count = static_cast<ULONG>(state.range(0));
  Session session(kProviders, 8, 0);
  Recipients recipients(count, kProviders);
  std::vector<std::vector<ULONG>> groups(kProviders);
  for (ULONG i = 0; i < count; ++i) groups[recipients.ids[i].uid.provider].push_back(i);
  std::vector<ChainPtr<ADRLIST>> parts(kProviders);
  for (auto _ : state) {
    recipients.Restart();
    for (ULONG group = 0; group < kProviders; ++group) {
      if (Failed(AllocateInto(parts[group], RowSetSize(groups[group].size())))) return state.SkipWithError("no memory");
      ADRLIST& part = *parts[group].Get();
      for (ULONG item : groups[group]) part.aEntries[part.cEntries++] = recipients.list()->aEntries[item];
      session.providers[group].PrepareRecips(0, nullptr, &part);
    }
    ULONG place = 0;
    for (const ChainPtr<ADRLIST>& part : parts) {
      for (ULONG i = 0; i < part->cEntries; ++i) recipients.list()->aEntries[place++] = part->aEntries[i];
    }
  }
}

// One entry, of one of so many identifiers, opened and released.
void Open(benchmark::State& state, IAddrBook& opener, std::vector<Id>& ids) {
  std::size_t next = 0;
  for (auto _ : state) {
    Id& id = ids[next++ % ids.size()];
    ULONG type = 0;
    ComPtr<IUnknown> object;
    if (opener.OpenEntry(sizeof(id), reinterpret_cast<ENTRYID*>(&id), nullptr, 0, &type, object.Put()) != S_OK) {
      return state.SkipWithError("not opened");
    }
  }
}

void Route(benchmark::State& state, bool direct) {
  const auto count = static_cast<ULONG>(state.range(0));
  Session session(1, count, 0);
  if (!session.ok) return state.SkipWithError("no session");
  std::vector<Id> ids;
  for (ULONG i = 0; i < count; ++i) ids.push_back(IdFor(0, i * 7 % count, i));
  Open(state, direct ? static_cast<IAddrBook&>(session.providers[0]) : *session.book, ids);
}

void Hierarchy(benchmark::State& state) {
  Session session(64, 1, static_cast<ULONG>(state.range(0)));
  if (!session.ok) return state.SkipWithError("no session");
  for (auto _ : state) {
    ComPtr<MemTable> table;
    HRESULT hr = BuildHierarchy(*session.list, MAPI_UNICODE | CONVENIENT_DEPTH, table);
    if (hr != S_OK || table->row_count() != 64 * (static_cast<std::size_t>(state.range(0)) + 1)) {
      return state.SkipWithError("no hierarchy");
    }
  }
}

// Reads the same rows, and keeps a block of a table row's size of each as long as the table would live.
void HierarchyFloor(benchmark::State& state) {
  constexpr std::size_t kRowSize = 304;
  Session session(64, 1, static_cast<ULONG>(state.range(0)));
  if (!session.ok) return state.SkipWithError("no session");
  for (auto _ : state) {
    std::vector<std::unique_ptr<BYTE[]>> kept;
    kept.reserve(64 * (static_cast<std::size_t>(state.range(0)) + 1));
    for (Provider& provider : session.providers) {
      ULONG count = 0;
      ChainPtr<SPropValue> values;
      if (Failed(provider.GetProps(nullptr, 0, &count, values.Put()))) return state.SkipWithError("no memory");
      kept.push_back(std::make_unique<BYTE[]>(kRowSize));
      provider.top.table.position = 0;
      for (bool more = true; more;) {
        RowSetPtr rows;
        if (Failed(provider.top.table.QueryRows(1, 0, rows.Put()))) return state.SkipWithError("no memory");
        more = rows->cRows != 0;
        if (more) kept.push_back(std::make_unique<BYTE[]>(kRowSize));
      }
    }
  }
}

const WithFloor prepare1("PrepareRecips over 1 provider, recipients", {1'000, 10'000, 100'000}, &Prepare<1>,
                         &PrepareFloor<1>);
const WithFloor prepare8("PrepareRecips over 8 providers, recipients", {1'000, 10'000, 100'000}, &Prepare<8>,
                         &PrepareFloor<8>);
const WithFloor prepare64("PrepareRecips over 64 providers, recipients", {1'000, 10'000, 100'000}, &Prepare<64>,
                          &PrepareFloor<64>);
const WithFloor route(
    "OpenEntry, registered identifiers", {1, 64, 1'024}, [](benchmark::State& state) { Route(state, false); },
    [](benchmark::State& state) { Route(state, true); });
const WithFloor hierarchy("hierarchy of 64 providers, containers of each", {10, 100, 1'000}, &Hierarchy,
                          &HierarchyFloor);

}  // namespace
}  // namespace uab
