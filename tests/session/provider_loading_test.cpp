#include "session/provider_loading.h"

#include <cstring>

#include "frame/module.h"
#include "session/provider_list.h"
#include "session/staged_world.h"
#include "tables/mem_table.h"

namespace uab {
namespace {

constexpr HRESULT kAdminFailure = static_cast<HRESULT>(0x80040F0Du);

// The services of a profile, without a profile.
struct FakeAdmin : Refusing<IMsgServiceAdmin> {
  FakeAdmin() { EXPECT_EQ(MemTable::Create(services), S_OK); }

  void Add(const std::string& library, const char* entry = "ServiceEntry", ULONG uid_size = 16) {
    std::basic_string<WCHAR> name(library.begin(), library.end());
    BYTE uid[17] = {static_cast<BYTE>(services->row_count() + 1)};
    SPropValue values[] = {BinaryValue(PR_SERVICE_UID, uid, uid_size), TextValue(PR_SERVICE_DLL_NAME_W, name.c_str()),
                           LongValue(PR_SERVICE_ENTRY_NAME, 0)};
    values[2].Value.lpszA = const_cast<char*>(entry);
    EXPECT_EQ(services->AddRow({0, library == "none" ? 1u : 3u, values}, services->row_count()), S_OK);
  }
  HRESULT UAB_CALL GetMsgServiceTable(ULONG flags, IMAPITable** table) override {
    EXPECT_EQ(flags, MAPI_UNICODE);
    services->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    *table = services.Copy();
    return table_answer;
  }
  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) override { return E_FAIL; }
  HRESULT UAB_CALL CreateMsgService(WCHAR*, WCHAR*, WCHAR*, ULONG, ULONG_PTR, ULONG) override { return E_FAIL; }
  HRESULT UAB_CALL DeleteMsgService(MAPIUID*) override { return E_FAIL; }
  HRESULT UAB_CALL ConfigureMsgService(MAPIUID*, ULONG_PTR, ULONG, ULONG, SPropValue*, IMAPIProp**) override {
    return E_FAIL;
  }
  HRESULT UAB_CALL OpenProfileSection(MAPIUID* uid, const IID* iid, ULONG flags, IMAPIProp** opened) override {
    EXPECT_TRUE(iid == nullptr && flags == MAPI_MODIFY);
    if (uid->ab[0] == refused_section) return kAdminFailure;
    section.AddRef();
    *opened = &section;
    return S_OK;
  }

  ComPtr<MemTable> services;
  HRESULT table_answer = S_OK;
  BYTE refused_section = 0;  // the service with this number
  RefusingProp<Refusing<IMAPIProp>> section;
};

struct ProviderLoading : testing::Test {
  ProviderLoading() {
    EXPECT_EQ(ProviderList::Create(list), S_OK);
    admin.Add(kLibrary0);
    admin.Add(kLibrary1);
  }
  ~ProviderLoading() override { ExpectUndone(nullptr); }

  HRESULT Load() { return LoadProviders(&admin, list.Get(), arguments); }
  // All providers have gone, each before its library, and what they kept.
  void ExpectUndone(const char* events) {
    list->FreeEntries();
    EXPECT_TRUE(events == nullptr || world.events == events) << world.events << " instead of " << events;
    world.events.clear();
    EXPECT_TRUE(world.NothingLoaded());
    EXPECT_EQ(world.held() + admin.section.references, 0u);
  }

  WCHAR app_key[4] = {'K', 'e', 'y'};
  StagedWorld world;
  const LogonArguments arguments = {app_key, reinterpret_cast<HINSTANCE>(&app_key),
                                    reinterpret_cast<ULONG_PTR>(static_cast<ProviderStage*>(&world)), 0x40};
  FakeAdmin admin;
  ComPtr<ProviderList> list;
};

TEST_F(ProviderLoading, TheLastServiceIsTheFirstEntry) {
  EXPECT_EQ(LoadProviders(nullptr, list.Get(), arguments), E_INVALIDARG);
  EXPECT_EQ(LoadProviders(&admin, nullptr, arguments), E_INVALIDARG);
  OfferHostValue(77);
  ASSERT_EQ(Load(), S_OK);
  std::vector<ComPtr<ProviderEntry>> entries;
  ASSERT_EQ(list->Entries(entries), S_OK);
  ASSERT_EQ(entries.size(), 2u);
  for (int number : {0, 1}) {
    ProviderEntry& entry = *entries[static_cast<std::size_t>(1 - number)];
    EXPECT_TRUE(entry.library && entry.open_routine != nullptr && entry.service_routine != nullptr && entry.provider);
    EXPECT_EQ(entry.service_uid.ab[0], number + 1);
    ComPtr<ProviderEntry> owner;
    EXPECT_EQ(list->FindByUid(world.providers[number].uid, owner), S_OK);
    EXPECT_EQ(owner.Get(), &entry);
    const ProviderStage::Opening& seen = world.roles[number].seen;
    EXPECT_TRUE(seen.app_key == app_key && seen.resources == arguments.resources);
    EXPECT_EQ(seen.flags, MAPI_UNICODE | 0x40);
    EXPECT_EQ(seen.allocate_buffer, &UABAllocateBuffer);
    EXPECT_TRUE(seen.host_value == HostValue() && seen.host_value != 0);
  }
  entries.clear();
  ExpectUndone("O0O1R1U1R0U0");
}

TEST_F(ProviderLoading, AServiceThatCannotBeLoadedUnloadsTheOthers) {
  const struct {
    HRESULT expected;
    std::string library;
    const char* entry;
    ULONG uid_size;
  } cases[] = {
      {MAPI_E_NOT_FOUND, "missing.plugin", "ServiceEntry", 16},
      {MAPI_E_NOT_FOUND, "", "ServiceEntry", 16},
      {MAPI_E_NOT_FOUND, std::string(300, 'x'), "ServiceEntry", 16},
      {E_FAIL, "no_provider.plugin", "ServiceEntry", 16},
      {E_FAIL, kLibrary1, "NoSuchEntry", 16},
      {E_FAIL, kLibrary1, "", 16},
      {MAPI_E_INVALID_OBJECT, kLibrary1, "ServiceEntry", 15},
      {MAPI_E_INVALID_OBJECT, kLibrary1, "ServiceEntry", 17},
      {MAPI_E_INVALID_OBJECT, kLibrary1, "ServiceEntry", 0},
      {MAPI_E_INVALID_OBJECT, "none", "ServiceEntry", 16},
      {kAdminFailure, kLibrary1, "ServiceEntry", 16},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    FakeAdmin fresh;
    fresh.Add(kLibrary0);
    fresh.Add(c.library, c.entry, c.uid_size);
    fresh.refused_section = c.expected == kAdminFailure ? 2 : 0;
    EXPECT_EQ(LoadProviders(&fresh, list.Get(), arguments), c.expected);
    EXPECT_EQ(list->count() + fresh.section.references, 0u);
    ExpectUndone("O0R0U0");
  }
  admin.table_answer = kAdminFailure;
  EXPECT_EQ(Load(), kAdminFailure);
}

TEST_F(ProviderLoading, AProviderThatDoesNotOpenUnloadsTheOthers) {
  const struct {
    HRESULT answer;
    bool has_object;
    HRESULT expected;
    const char* events;
  } cases[] = {
      {kFakeFailure, false, kFakeFailure, "O0O1U1R0U0"},
      {kFakeFailure, true, kFakeFailure, "O0O1U1R0U0"},  // what it leaves behind may be gone
      {ProviderStage::kThrow, true, E_FAIL, "O0O1U1R0U0"},
  };
  world.roles[0].keeps_section = true;
  for (const auto& c : cases) {
    world.roles[1].answer = c.answer;
    world.roles[1].has_object = c.has_object;
    EXPECT_EQ(Load(), c.expected) << c.events;
    EXPECT_EQ(list->count(), 0u);
    ExpectUndone(c.events);
  }
  world.roles[1].answer = S_OK;
  world.roles[1].has_object = false;
  ASSERT_EQ(Load(), S_OK) << "success without an object: it keeps its place";
  EXPECT_EQ(list->count(), 2u);
  ComPtr<ProviderEntry> owner;
  EXPECT_EQ(list->FindByUid(world.providers[1].uid, owner), E_ACCESSDENIED);
}

TEST_F(ProviderLoading, ASupportObjectThatWasKeptRegistersLateAndOutlivesTheSession) {
  world.roles[0].keeps_support = true;
  world.roles[0].registers = false;
  ComPtr<IUABSupport>& support = world.roles[0].support;
  ASSERT_EQ(Load(), S_OK);
  MAPIUID uid = world.providers[0].uid;
  ComPtr<ProviderEntry> owner;
  EXPECT_EQ(list->FindByUid(uid, owner), MAPI_E_NOT_FOUND);
  EXPECT_EQ(support->SetProviderUID(&uid, 0), S_OK);
  EXPECT_EQ(list->FindByUid(uid, owner), S_OK);
  list->FreeEntries();
  EXPECT_EQ(world.providers[0].held(), 1u) << "a call under way keeps its provider";
  owner.Reset();
  ExpectUndone(nullptr);
  EXPECT_EQ(support->SetProviderUID(&uid, 0), E_INVALIDARG);
  world.roles[0].answer = kFakeFailure;  // the same behind a logon that failed
  EXPECT_EQ(Load(), kFakeFailure);
  EXPECT_EQ(support->SetProviderUID(&uid, 0), E_INVALIDARG);
}

}  // namespace
}  // namespace uab
