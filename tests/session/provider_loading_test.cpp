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
struct FakeAdmin : RefusingServiceAdmin {
  FakeAdmin() { EXPECT_EQ(MemTable::Create(services), S_OK); }

  void Add(const char* library, const char* entry = "ServiceEntry", ULONG uid_size = 16) {
    std::basic_string<WCHAR> name(library, library + std::strlen(library));
    BYTE uid[17] = {static_cast<BYTE>(services->row_count() + 1)};
    SPropValue values[] = {BinaryValue(PR_SERVICE_UID, uid, uid_size),
                           TextValue(PR_SERVICE_DLL_NAME_W, name.c_str()),
                           {PR_SERVICE_ENTRY_NAME, 0, {}}};
    values[2].Value.lpszA = const_cast<char*>(entry);
    AddRow(values, 3);
  }
  void AddRow(SPropValue* values, ULONG count) {
    EXPECT_EQ(services->AddRow({0, count, values}, services->row_count()), S_OK);
  }

  HRESULT UAB_CALL GetMsgServiceTable(ULONG flags, IMAPITable** table) override {
    EXPECT_EQ(flags, MAPI_UNICODE);
    services->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    *table = services.Copy();
    return table_answer;
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
  ProviderLoading() { EXPECT_EQ(ProviderList::Create(list), S_OK); }
  ~ProviderLoading() override {
    list->FreeEntries();
    EXPECT_TRUE(world.NothingLoaded());
    EXPECT_EQ(admin.section.references, 0u);
  }

  HRESULT Load() { return LoadProviders(&admin, list.Get(), arguments); }
  void AddBoth() {
    admin.Add(kLibrary0);
    admin.Add(kLibrary1);
  }
  // The other provider has gone, its library behind it, and what it kept.
  void ExpectUndone(const char* events) {
    EXPECT_EQ(std::exchange(world.events, ""), events);
    EXPECT_EQ(list->count(), 0u);
    EXPECT_TRUE(world.NothingLoaded());
    EXPECT_EQ(world.held(), 0u);
  }

  WCHAR app_key[4] = {'K', 'e', 'y'};
  StagedWorld world;
  const LogonArguments arguments = {app_key, reinterpret_cast<HINSTANCE>(&app_key),
                                    reinterpret_cast<ULONG_PTR>(static_cast<ProviderStage*>(&world)), 0x40};
  FakeAdmin admin;
  ComPtr<ProviderList> list;
};

TEST_F(ProviderLoading, TheLastServiceIsTheFirstEntry) {
  AddBoth();
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
    EXPECT_EQ(seen.app_key, app_key);
    EXPECT_EQ(seen.resources, arguments.resources);
    EXPECT_EQ(seen.flags, MAPI_UNICODE | 0x40);
    EXPECT_EQ(seen.allocate_buffer, &UABAllocateBuffer);
    EXPECT_EQ(seen.host_value, HostValue());
    EXPECT_NE(seen.host_value, 0u);
  }
  entries.clear();
  list->FreeEntries();
  ExpectUndone("O0O1R1U1R0U0");
}

TEST_F(ProviderLoading, WithoutServicesThereIsNothingToLoad) {
  EXPECT_EQ(Load(), S_OK);
  EXPECT_EQ(list->count(), 0u);
  EXPECT_EQ(LoadProviders(nullptr, list.Get(), arguments), E_INVALIDARG);
  EXPECT_EQ(LoadProviders(&admin, nullptr, arguments), E_INVALIDARG);
}

TEST_F(ProviderLoading, AServiceThatCannotBeLoadedUnloadsTheOthers) {
  BYTE uid[16] = {};
  SPropValue no_library[] = {BinaryValue(PR_SERVICE_UID, uid, 16), TextValue(PR_SERVICE_ENTRY_NAME, nullptr)};
  const struct {
    HRESULT expected;
    void (*prepare)(FakeAdmin&, SPropValue*);
  } cases[] = {
      {MAPI_E_NOT_FOUND, [](FakeAdmin& a, SPropValue*) { a.Add("missing.plugin"); }},
      {MAPI_E_NOT_FOUND, [](FakeAdmin& a, SPropValue*) { a.Add(""); }},
      {MAPI_E_NOT_FOUND, [](FakeAdmin& a, SPropValue*) { a.Add(std::string(300, 'x').c_str()); }},
      {E_FAIL, [](FakeAdmin& a, SPropValue*) { a.Add("no_provider.plugin"); }},
      {E_FAIL, [](FakeAdmin& a, SPropValue*) { a.Add(kLibrary1, "NoSuchEntry"); }},
      {E_FAIL, [](FakeAdmin& a, SPropValue*) { a.Add(kLibrary1, ""); }},
      {MAPI_E_INVALID_OBJECT, [](FakeAdmin& a, SPropValue*) { a.Add(kLibrary1, "ServiceEntry", 15); }},
      {MAPI_E_INVALID_OBJECT, [](FakeAdmin& a, SPropValue*) { a.Add(kLibrary1, "ServiceEntry", 17); }},
      {MAPI_E_INVALID_OBJECT, [](FakeAdmin& a, SPropValue*) { a.Add(kLibrary1, "ServiceEntry", 0); }},
      {MAPI_E_INVALID_OBJECT, [](FakeAdmin& a, SPropValue* values) { a.AddRow(values, 2); }},
      {kAdminFailure, [](FakeAdmin& a, SPropValue*) { a.Add(kLibrary1), a.refused_section = 2; }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    FakeAdmin fresh;
    fresh.Add(kLibrary0);
    c.prepare(fresh, no_library);
    EXPECT_EQ(LoadProviders(&fresh, list.Get(), arguments), c.expected);
    EXPECT_EQ(fresh.section.references, 0u);
    ExpectUndone("O0R0U0");
  }
  admin.Add(kLibrary0);
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
      {kFakeFailure, true, kFakeFailure, "O0O1R1U1R0U0"},  // its object goes before its library
      {ProviderStage::kThrow, true, E_FAIL, "O0O1R1U1R0U0"},
  };
  AddBoth();
  for (const auto& c : cases) {
    world.roles[0].keeps_section = true;
    world.roles[1].answer = c.answer;
    world.roles[1].has_object = c.has_object;
    EXPECT_EQ(Load(), c.expected) << c.events;
    ExpectUndone(c.events);
    EXPECT_EQ(admin.section.references, 0u);
  }
  world.roles[1].answer = S_OK;
  world.roles[1].has_object = false;
  ASSERT_EQ(Load(), S_OK) << "success without an object: it keeps its place";
  EXPECT_EQ(list->count(), 2u);
  ComPtr<ProviderEntry> owner;
  EXPECT_EQ(list->FindByUid(world.providers[1].uid, owner), E_ACCESSDENIED);
}

TEST_F(ProviderLoading, ASupportObjectThatWasKeptRegistersLateAndOutlivesTheSession) {
  AddBoth();
  world.roles[0].keeps_support = true;
  world.roles[0].registers = false;
  ComPtr<IUABSupport>& support = world.roles[0].support;
  ASSERT_EQ(Load(), S_OK);
  MAPIUID uid = world.providers[0].uid;
  ComPtr<ProviderEntry> owner;
  EXPECT_EQ(list->FindByUid(uid, owner), MAPI_E_NOT_FOUND);
  EXPECT_EQ(support->SetProviderUID(&uid, 0), S_OK);
  EXPECT_EQ(list->FindByUid(uid, owner), S_OK);
  owner.Reset();
  list->FreeEntries();
  EXPECT_TRUE(world.NothingLoaded());
  EXPECT_EQ(support->SetProviderUID(&uid, 0), E_INVALIDARG);

  world.roles[0].answer = kFakeFailure;  // the same behind a logon that failed
  EXPECT_EQ(Load(), kFakeFailure);
  EXPECT_EQ(support->SetProviderUID(&uid, 0), E_INVALIDARG);
}

}  // namespace
}  // namespace uab
