#include "session/provider_list.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/failure_sweep.h"
#include "support/fake_provider.h"

namespace uab {
namespace {

MAPIUID Uid(int number) {
  MAPIUID uid{};
  std::memcpy(uid.ab, &number, sizeof(number));
  uid.ab[15] = 0x42;
  return uid;
}

struct ProviderListTest : testing::Test {
  ProviderListTest() { EXPECT_EQ(ProviderList::Create(list), S_OK); }

  // The entry is pushed last in the test's program: what it registers in between is registered before.
  ComPtr<ProviderEntry> Entry(IAddrBook* provider) {
    ComPtr<ProviderEntry> entry;
    EXPECT_EQ(ProviderEntry::Create(*list.Get(), entry), S_OK);
    entry->provider = ComPtr<IAddrBook>(provider);
    return entry;
  }
  ComPtr<ProviderSupport> Support(ProviderEntry& entry) {
    ComPtr<ProviderSupport> support;
    EXPECT_EQ(entry.MakeSupport(support), S_OK);
    return support;
  }
  HRESULT Register(ProviderSupport& support, int number) {
    MAPIUID uid = Uid(number);
    return support.SetProviderUID(&uid, 0);
  }
  IAddrBook* Owner(int number, HRESULT expected = S_OK) {
    ComPtr<ProviderEntry> entry;
    EXPECT_EQ(list->FindByUid(Uid(number), entry), expected) << number;
    return entry ? entry->provider.Get() : nullptr;
  }

  ComPtr<ProviderList> list;
};

TEST_F(ProviderListTest, OwnerIsTheFirstInListOrderWithAProviderObject) {
  FakeProvider first('A'), third('C');
  ComPtr<ProviderEntry> entries[] = {Entry(&first), Entry(nullptr), Entry(&third), Entry(nullptr)};
  ComPtr<ProviderSupport> supports[4];
  for (int i = 0; i < 4; ++i) supports[i] = Support(*entries[i]);
  const struct {
    int uid;
    std::vector<int> early, late;  // entries that register it before and after they are pushed
    HRESULT result;
    IAddrBook* owner;
    std::size_t position;
  } cases[] = {
      {1, {0}, {}, S_OK, &first, 3},
      {2, {0, 2}, {}, S_OK, &third, 1},
      {3, {}, {2, 0}, S_OK, &third, 1},
      {4, {0}, {1, 3}, S_OK, &first, 3},
      {5, {1}, {3}, E_ACCESSDENIED, nullptr, 0},
      {6, {}, {1}, E_ACCESSDENIED, nullptr, 2},
      {7, {}, {}, MAPI_E_NOT_FOUND, nullptr, ProviderList::kNowhere},
  };
  for (const auto& c : cases) {
    for (int entry : c.early) EXPECT_EQ(Register(*supports[entry], c.uid), S_OK);
    EXPECT_EQ(Owner(c.uid, MAPI_E_NOT_FOUND), nullptr) << "not pushed yet";
  }
  for (auto& entry : entries) EXPECT_EQ(list->PushFront(entry), S_OK);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.uid);
    for (int entry : c.late) EXPECT_EQ(Register(*supports[entry], c.uid), S_OK);
    EXPECT_EQ(Owner(c.uid, c.result), c.owner);
    EXPECT_EQ(list->PositionOfUid(Uid(c.uid)), c.position);
    for (int entry : c.early) EXPECT_EQ(Register(*supports[entry], c.uid), MAPI_E_COLLISION);
    for (int entry : c.late) EXPECT_EQ(Register(*supports[entry], c.uid), MAPI_E_COLLISION);
  }
  std::vector<ComPtr<ProviderEntry>> walk;
  EXPECT_EQ(list->Entries(walk), S_OK);
  ASSERT_EQ(walk.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(walk[i].Get(), entries[3 - i].Get());
  list.Reset();
}

TEST_F(ProviderListTest, FreesInListOrderWhateverAProviderDoes) {
  std::string log;
  FakeProvider providers[] = {FakeProvider('a'), FakeProvider('b'), FakeProvider('c')};
  for (FakeProvider& provider : providers) {
    provider.on_call = [&](std::string_view) {
      log += provider.letter + std::to_string(list->count());
      throw 1;
    };
    ComPtr<ProviderEntry> entry = Entry(&provider);
    EXPECT_EQ(Register(*Support(*entry), 1), S_OK);
    EXPECT_EQ(list->PushFront(std::move(entry)), S_OK);
  }
  list->FreeEntries();
  EXPECT_EQ(log, "c0b0a0");
  EXPECT_EQ(list->count(), 0u);
  Owner(1, MAPI_E_NOT_FOUND);
  EXPECT_EQ(list->PositionOfUid(Uid(1)), ProviderList::kNowhere);
}

TEST_F(ProviderListTest, WithoutMemoryNothingIsHalfRegistered) {
  struct State {
    ComPtr<ProviderList> list;
    ComPtr<ProviderSupport> early, late;
  };
  FakeProvider provider('A');
  ForEachAllocationFailure(
      [&] {
        State state;
        EXPECT_EQ(ProviderList::Create(state.list), S_OK);
        return state;
      },
      [&](State& state) -> HRESULT {
        ComPtr<ProviderEntry> first, second;
        if (HRESULT hr = ProviderEntry::Create(*state.list, first); Failed(hr)) return hr;
        if (HRESULT hr = ProviderEntry::Create(*state.list, second); Failed(hr)) return hr;
        first->provider = second->provider = ComPtr<IAddrBook>(&provider);
        if (HRESULT hr = first->MakeSupport(state.early); Failed(hr)) return hr;
        if (HRESULT hr = second->MakeSupport(state.late); Failed(hr)) return hr;
        for (int i = 0; i < 20; ++i) {
          if (HRESULT hr = Register(*state.early, i); Failed(hr)) return hr;
        }
        if (HRESULT hr = state.list->PushFront(std::move(first)); Failed(hr)) return hr;
        if (HRESULT hr = state.list->PushFront(std::move(second)); Failed(hr)) return hr;
        for (int i = 10; i < 40; ++i) {
          if (HRESULT hr = Register(*state.late, i); Failed(hr)) return hr;
        }
        std::vector<ComPtr<ProviderEntry>> walk;
        return state.list->Entries(walk);
      },
      [&](State& state, HRESULT hr) {
        EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY);
        // What is registered is found, and what is not registered can be registered once memory is there.
        if (state.list->count() == 2) {
          for (int i = 0; i < 40; ++i) {
            const bool registered = state.list->PositionOfUid(Uid(i)) == 0;
            EXPECT_EQ(Register(*state.late, i), registered ? MAPI_E_COLLISION : S_OK) << i;
            EXPECT_EQ(state.list->PositionOfUid(Uid(i)), 0u) << i;
          }
        }
        state.list->FreeEntries();
      });
  EXPECT_EQ(provider.held(), 0u);
}

}  // namespace
}  // namespace uab
