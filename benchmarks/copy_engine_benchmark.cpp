// Copying a distribution list of n members, of which half are there twice, between lists of a provider in memory:
// against the same calls of the provider, made by a loop that remembers what it has copied and checks nothing.
#include "props/copy_engine.h"

#include <string>
#include <unordered_map>

#include "benchmarks/with_floor.h"
#include "frame/allocation_chain.h"
#include "keluab/iids.h"
#include "props/prop_values.h"
#include "support/fake_provider.h"

namespace uab {
namespace {

struct Lists {
  explicit Lists(std::int64_t members) : provider(char{7}) {
    FakeEntry& list = provider.AddList("source");
    for (std::int64_t i = 0; i < members; ++i) {
      const std::string name = "member " + std::to_string(i / 2);
      if (i % 2 == 0) provider.AddUser(name);
      provider.AddMember(list, provider.Id(name));
    }
    Renew();
  }
  void Renew() {
    destination.Reset();
    provider.DropNewEntries();
    provider.SetTemplates(provider.AddList("destination"), true, true);
    source = provider.Open("source");
    destination = provider.Open("destination");
  }

  FakeProvider provider;
  ComPtr<IABContainer> source, destination;
};

constexpr TagArray<2> kTags = {2, {PR_DISPLAY_NAME_W, PR_CONTAINER_CONTENTS}};

template <typename Copy>
void Run(benchmark::State& state, Copy&& copy) {
  Lists lists(state.range(0));
  for (auto _ : state) {
    if (!copy(lists)) return state.SkipWithError("copying failed");
    state.PauseTiming();
    if (lists.provider.At("destination").members.size() != static_cast<std::size_t>(state.range(0)) / 2) {
      return state.SkipWithError("members are missing");
    }
    lists.Renew();
    state.ResumeTiming();
  }
}

void CopyList(benchmark::State& state) {
  Run(state, [](Lists& lists) {
    return DoCopyProps({&IID_IDistList, lists.source.Get()}, kTags.address(), {&IID_IDistList, lists.destination.Get()},
                       0, nullptr) == S_OK;
  });
}

// One member that is met for the first time. The copy's identifier.
std::string CopyMember(Lists& lists, const std::string& id, const std::string& user_template) {
  auto entry_of = [](const std::string& bytes) { return reinterpret_cast<ENTRYID*>(const_cast<char*>(bytes.data())); };
  ComPtr<IUnknown> opened;
  ULONG type = 0, count = 0;
  lists.source->OpenEntry(static_cast<ULONG>(id.size()), entry_of(id), nullptr, 0, &type, opened.Put());
  ComPtr<IMAPIProp> from, copy;
  lists.destination->CreateEntry(static_cast<ULONG>(user_template.size()), entry_of(user_template), 0, copy.Put());
  opened->QueryInterface(IID_IMAPIProp, from.PutVoid());
  ChainPtr<SPropValue> values;
  from->GetProps(nullptr, MAPI_UNICODE, &count, values.Put());
  for (ULONG i = 0; i < count; ++i) {
    if (PropType(values.Get()[i].ulPropTag) == PT_BINARY) values.Get()[i].ulPropTag = PR_NULL;
  }
  copy->SetProps(count, values.Get(), nullptr);
  copy->SaveChanges(KEEP_OPEN_READWRITE);
  TagArray<1> tag = {1, {PR_ENTRYID}};
  copy->GetProps(tag.address(), MAPI_UNICODE, &count, values.Put());
  const SBinary& made = values->Value.bin;
  return std::string(reinterpret_cast<const char*>(made.lpb), made.cb);
}

void CopyListFloor(benchmark::State& state) {
  Run(state, [](Lists& lists) {
    std::unordered_map<std::string, std::string> copies;
    const std::string user_template = lists.provider.Id("user template");
    ComPtr<IMAPITable> table;
    lists.source->GetContentsTable(MAPI_UNICODE, table.Put());
    TagArray<2> columns = {2, {PR_OBJECT_TYPE, PR_ENTRYID}};
    table->SetColumns(columns.address(), 0);
    table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    for (;;) {
      RowSetPtr rows;
      table->QueryRows(1, 0, rows.Put());
      if (rows->cRows == 0) return true;
      SBinary id = rows->aRow[0].lpProps[1].Value.bin;
      auto [known, added] = copies.try_emplace(std::string(reinterpret_cast<const char*>(id.lpb), id.cb));
      if (added) {
        known->second = CopyMember(lists, known->first, user_template);
      } else {
        SBinary entry = {static_cast<ULONG>(known->second.size()), reinterpret_cast<BYTE*>(known->second.data())};
        ENTRYLIST list = {1, &entry};
        lists.destination->CopyEntries(&list, 0, nullptr, 1);
      }
    }
  });
}

const WithFloor copy_list("copy a list, members", {1'000, 10'000, 100'000}, &CopyList, &CopyListFloor);

}  // namespace
}  // namespace uab
