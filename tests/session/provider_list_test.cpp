#include "session/provider_list.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/fake_provider.h"

namespace uab {
namespace {

MAPIUID Uid(int number) {
  MAPIUID uid{};
  std::memcpy(uid.ab, &number, sizeof(number));
  return uid;
}
HRESULT Register(const ComPtr<ProviderSupport>& support, int number) {
  MAPIUID uid = Uid(number);
  return support->SetProviderUID(&uid, 0);
}
// An entry that is not pushed yet, and its support object.
HRESULT Make(ProviderList& list, IAddrBook* provider, ComPtr<ProviderEntry>& entry, ComPtr<ProviderSupport>& support) {
  if (HRESULT hr = ProviderEntry::Create(list, entry); Failed(hr)) return hr;
  entry->provider = ComPtr<IAddrBook>(provider);
  return entry->MakeSupport(support);
}

TEST(ProviderList, OwnerIsTheFirstInListOrderWithAProviderObject) {
  ComPtr<ProviderList> list;
  ASSERT_EQ(ProviderList::Create(list), S_OK);
  FakeProvider first('A'), third('C');
  IAddrBook* const providers[] = {&first, nullptr, &third, nullptr};
  ComPtr<ProviderEntry> entries[4];
  ComPtr<ProviderSupport> supports[4];
  for (int i = 0; i < 4; ++i) ASSERT_EQ(Make(*list, providers[i], entries[i], supports[i]), S_OK);
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
  ComPtr<ProviderEntry> owner;
  for (const auto& c : cases) {
    for (int entry : c.early) EXPECT_EQ(Register(supports[entry], c.uid), S_OK);
    EXPECT_EQ(list->FindByUid(Uid(c.uid), owner), MAPI_E_NOT_FOUND) << "not pushed yet";
  }
  for (auto& entry : entries) EXPECT_EQ(list->PushFront(entry), S_OK);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.uid);
    for (int entry : c.late) EXPECT_EQ(Register(supports[entry], c.uid), S_OK);
    owner.Reset();
    EXPECT_EQ(list->FindByUid(Uid(c.uid), owner), c.result);
    EXPECT_EQ(owner ? owner->provider.Get() : nullptr, c.owner);
    EXPECT_EQ(list->PositionOfUid(Uid(c.uid)), c.position);
    for (const auto& registered : {c.early, c.late}) {
      for (int entry : registered) EXPECT_EQ(Register(supports[entry], c.uid), MAPI_E_COLLISION);
    }
  }
  for (int uid = 100; uid < 200; ++uid) {  // more than there is room for at first
    EXPECT_EQ(Register(supports[0], uid), S_OK);
    EXPECT_EQ(list->PositionOfUid(Uid(uid)), 3u);
  }
  std::string log;
  for (FakeProvider* provider : {&first, &third}) {
    provider->on_call = [&, provider](std::string_view) {
      log += provider->letter + std::to_string(list->count());
      throw 1;
    };
  }
  owner.Reset();
  for (auto& entry : entries) entry.Reset();
  list->FreeEntries();
  EXPECT_EQ(log, "C0A0") << "freed in list order, whatever a provider does";
  EXPECT_EQ(list->PositionOfUid(Uid(1)), ProviderList::kNowhere);
}

}  // namespace
}  // namespace uab
