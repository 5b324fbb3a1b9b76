// Finding the owner of one entry identifier among n registered ones, 8 to a provider, against finding it in a plain
// hash map and holding the owner by its count. Meant to be nearly flat.
#include "session/provider_list.h"

#include <cstring>
#include <deque>
#include <string_view>
#include <unordered_map>

#include "benchmarks/bare_objects.h"
#include "benchmarks/with_floor.h"

namespace uab {
namespace {

MAPIUID Uid(std::uint64_t number) {
  MAPIUID uid{};
  number = number * 0x9E3779B97F4A7C15u + 1;
  std::memcpy(uid.ab, &number, sizeof(number));
  return uid;
}

void FindOwner(benchmark::State& state) {
  std::deque<BareAddrBook> providers;
  ComPtr<ProviderList> list;
  if (ProviderList::Create(list) != S_OK) return state.SkipWithError("no memory");
  const auto count = static_cast<std::uint64_t>(state.range(0));
  for (std::uint64_t next = 0; next < count;) {
    ComPtr<ProviderEntry> entry;
    ComPtr<ProviderSupport> support;
    if (ProviderEntry::Create(*list, entry) != S_OK || entry->MakeSupport(support) != S_OK) return;
    entry->provider = ComPtr<IAddrBook>(&providers.emplace_back());
    for (int i = 0; i < 8 && next < count; ++i) {
      MAPIUID uid = Uid(next++);
      if (support->SetProviderUID(&uid, 0) != S_OK) return state.SkipWithError("not registered");
    }
    if (list->PushFront(std::move(entry)) != S_OK) return state.SkipWithError("not pushed");
  }
  std::uint64_t next = 0;
  for (auto _ : state) {
    ComPtr<ProviderEntry> owner;
    if (list->FindByUid(Uid(next), owner) != S_OK) return state.SkipWithError("not found");
    benchmark::DoNotOptimize(owner);
    if (++next == count) next = 0;
  }
  list->FreeEntries();
}

void FindOwnerFloor(benchmark::State& state) {
  BareAddrBook provider;
  std::deque<MAPIUID> uids;
  std::unordered_map<std::string_view, IAddrBook*> owners;
  const auto count = static_cast<std::uint64_t>(state.range(0));
  auto text = [](const MAPIUID& uid) { return std::string_view(reinterpret_cast<const char*>(uid.ab), 16); };
  for (std::uint64_t i = 0; i < count; ++i) owners.emplace(text(uids.emplace_back(Uid(i))), &provider);
  std::uint64_t next = 0;
  for (auto _ : state) {
    const MAPIUID uid = Uid(next);
    ComPtr<IAddrBook> owner(owners.find(text(uid))->second);
    benchmark::DoNotOptimize(owner);
    if (++next == count) next = 0;
  }
}

const WithFloor find_owner("find the owner, identifiers", {1, 64, 1'024}, &FindOwner, &FindOwnerFloor);

}  // namespace
}  // namespace uab
