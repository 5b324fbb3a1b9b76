#include "session/staged_world.h"

#include "keluab/keluab.h"
#include "profiles/profile_lock.h"
#include "tables/registry_contents.h"

namespace uab {
namespace {

// All values of a key and of what is below it.
std::string TextOfKey(HKEY key) {
  std::string text;
  auto add = [&text](const auto& range) { text.append(range.begin(), range.end()); };
  for (const auto& [name, data] : ReadValues(key)) add(name), add(data);
  for (const Text& name : NamesIn(key, &EnumSubkey)) {
    UniqueKey subkey;
    EXPECT_EQ(OpenKey(key, name.c_str(), KEY_READ, &subkey), S_OK);
    text += TextOfKey(subkey.Get());
  }
  return text;
}

}  // namespace

StagedWorld::StagedWorld() {
  events.reserve(1000);  // so that no event needs memory
  open = [](ProviderStage& stage, int number, const Opening& opening) {
    return static_cast<StagedWorld&>(stage).Open(number, opening);
  };
  called = [](ProviderStage& stage) {
    if (auto& run = static_cast<StagedWorld&>(stage).in_call) run();
  };
  unloaded = [](ProviderStage& stage, int number, int calls_inside) {
    EXPECT_EQ(calls_inside, 0) << "library " << number << " is unloaded during its own call";
    stage.through[number] = nullptr;
    static_cast<StagedWorld&>(stage).Note('U', number);
  };
  for (int number : {0, 1}) {
    FakeProvider& provider = providers[number];
    provider.SetTemplates(provider.AddChild("people", AB_RECIPIENTS | AB_MODIFIABLE), true, true);
    for (const char* user : {"ann", "bob"}) provider.AddUser(user);
    provider.AddList("team", {"ann", "bob"});
    provider.on_call = [this, number](std::string_view slot) {
      if (slot == "Release") {
        Note('R', number);
        roles[number].section.Reset();
      }
      Call(number, slot);
    };
  }
  for (int n : {0, 1}) providers[n].AddForeignMember(providers[n].At("team"), providers[1 - n], "team");
}

bool StagedWorld::NothingLoaded() {
  return !IsModuleLoaded(kLibrary0) && !IsModuleLoaded(kLibrary1) && !IsModuleLoaded("no_provider.plugin");
}

void StagedWorld::Call(int number, std::string_view slot) {
  if (auto run = through[number]) return run();
  ADD_FAILURE() << slot << " is called after library " << number << " has been unloaded";
}

void StagedWorld::Note(char what, int number) {
  events += what;
  events += static_cast<char>('0' + number);
}

HRESULT StagedWorld::Open(int number, const Opening& opening) {
  Role& role = roles[number];
  role.seen = opening;
  Note('O', number);
  if (role.keeps_support) role.support = ComPtr<IUABSupport>(opening.support);
  MAPIUID other = providers[number].uid;
  other.ab[0] = 1;
  for (MAPIUID* uid : {&providers[number].uid, &other}) {
    HRESULT hr = role.registers ? opening.support->SetProviderUID(uid, 0) : S_OK;
    if (Failed(hr)) return hr;
  }
  if (role.has_object) {
    if (role.keeps_section) role.section = ComPtr<IMAPIProp>(opening.section);
    if (Succeeded(role.answer)) providers[number].AddRef();
    *opening.provider = &providers[number];
  }
  return role.answer;
}

void LogonTest::SetUp() {
  ASSERT_EQ(UABAdminProfiles(app_key, nullptr, MAPI_UNICODE, profiles.Put(), 0), S_OK);
  ASSERT_EQ(profiles->CreateProfile(two, 0, MAPI_UNICODE | MAPI_DEFAULT_SERVICES), S_OK);
  ASSERT_EQ(profiles->CreateProfile(empty, 0, MAPI_UNICODE), S_OK);
}

void LogonTest::TearDown() {
  EXPECT_TRUE(world.NothingLoaded());
  EXPECT_EQ(world.held(), 0u);
}

HRESULT LogonTest::Open(WCHAR* name, ComPtr<IUABSession>& session, IAddrBook** address_book, ULONG flags) {
  ProviderStage& stage = world;
  return UABOpen(app_key, reinterpret_cast<HINSTANCE>(this), reinterpret_cast<ULONG_PTR>(&stage), name,
                 flags | MAPI_UNICODE, nullptr, nullptr, nullptr, address_book, session.Put(), 0);
}

AdrListPtr LogonTest::ListOf(int number) {
  const std::string id = world.providers[number].Id("team");
  return MakeAdrList({{LongValue(PR_OBJECT_TYPE, MAPI_DISTLIST), LongValue(PR_RECIPIENT_TYPE, MAPI_CC),
                       BinaryValue(PR_ENTRYID, id.data(), SizeOf(id))}});
}

HRESULT LogonTest::Expand(IUABSession& session, AdrListPtr& list) {
  return ReplaceIn(list, [&](ADRLIST*& raw) { return session.ExpandDistLists(0, &raw); });
}

std::string Stored() {
  ProfileLock lock;
  EXPECT_EQ(lock.AcquireToRead(UAB_TEXT("Staged")), S_OK);
  return TextOfKey(HKEY_CURRENT_USER);
}

}  // namespace uab
