// Profiles and services when memory runs out and when system calls fail, at every request: what is stored is as before
// or as after.
#include "profiles/profile_lock.h"
#include "profiles/profile_world.h"
#include "support/failure_sweep.h"
#include "support/unwatched_system_calls.h"

namespace uab {
namespace {

HRESULT AddService(IMsgServiceAdmin& services) {
  return services.CreateMsgService(Mutable(UAB_TEXT("First")), kB, nullptr, 0, 0, MAPI_UNICODE);
}

// What one run works on: the default profile "a" with a service, and the objects that administer it. What is stored is
// made anew when the run before has changed it.
struct Setting {
  Setting() {
    EXPECT_EQ(UABAdminProfiles(kAppKey, nullptr, MAPI_UNICODE, admin.Put(), 0), S_OK);
    const bool as_before = !before.empty() && ReadProfiles() == before && RecordedDefault() == kA;
    if (!as_before) EmptyRoot();
    EXPECT_TRUE(as_before || admin->CreateProfile(kA, 0, MAPI_UNICODE) == S_OK);
    EXPECT_TRUE(as_before || admin->SetDefaultProfile(kA, MAPI_UNICODE) == S_OK);
    EXPECT_EQ(admin->AdminServices(kA, MAPI_UNICODE, services.Put()), S_OK);
    if (as_before) return;
    EXPECT_EQ(AddService(*services.Get()), S_OK);
    UnwatchedScope lasting;
    before = ReadProfiles();
    std::copy_n(&before[kA].begin()->second.at(UAB_TEXT("1024196866"))[32], sizeof(uid), uid.ab);
  }

  ComPtr<IProfAdmin> admin;
  ComPtr<IMsgServiceAdmin> services;

  inline static Profiles before;
  inline static MAPIUID uid;
};

struct Case {
  const char* name;
  HRESULT (*act)(Setting&);
  bool (*is_after)(const Profiles& before, const Profiles& now);
};

const Case kCases[] = {
    {"create",
     [](Setting& setting) { return setting.admin->CreateProfile(kB, 0, MAPI_UNICODE | MAPI_DEFAULT_SERVICES); },
     [](const Profiles& before, const Profiles& now) {
       return now.size() == 2 && now.at(kA) == before.at(kA) && now.at(kB).size() == 2;
     }},
    {"copy", [](Setting& setting) { return setting.admin->CopyProfile(kA, kB, MAPI_UNICODE); },
     [](const Profiles& before, const Profiles& now) {
       return now == Profiles{{kA, before.at(kA)}, {kB, before.at(kA)}};
     }},
    {"add a service", [](Setting& setting) { return AddService(*setting.services.Get()); },
     [](const Profiles& before, const Profiles& now) {
       Services services = now.at(kA);
       const bool kept = services[before.at(kA).begin()->first] == before.at(kA).begin()->second;
       return kept && services.size() == 2 && services.begin()->second.size() == services.rbegin()->second.size();
     }},
    {"remove the service", [](Setting& setting) { return setting.services->DeleteMsgService(&setting.uid); },
     [](const Profiles&, const Profiles& now) { return now.size() == 1 && now.at(kA).empty(); }},
    {"configure",
     [](Setting& setting) {
       SPropValue values[] = {LongValue(PR_DEPTH, 1), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("new"))};
       IMAPIProp* section = nullptr;
       return setting.services->ConfigureMsgService(&setting.uid, 0, MAPI_UNICODE, 2, values, &section);
     },
     [](const Profiles& before, const Profiles& now) {
       return now.at(kA).begin()->second.size() == before.at(kA).begin()->second.size() + 1;
     }},
    {"save a section",
     [](Setting& setting) {
       SPropValue values[] = {LongValue(PR_DEPTH, 1), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("new"))};
       ComPtr<IMAPIProp> section;
       HRESULT hr = setting.services->OpenProfileSection(&setting.uid, nullptr, MAPI_MODIFY, section.Put());
       SPropProblemArray* problems = nullptr;
       if (Succeeded(hr)) hr = section->SetProps(2, values, &problems);
       if (ChainPtr<SPropProblemArray> owner{problems}) return E_OUTOFMEMORY;
       return Succeeded(hr) ? section->SaveChanges(0) : hr;
     },
     [](const Profiles& before, const Profiles& now) {
       return now.at(kA).begin()->second.size() == before.at(kA).begin()->second.size() + 1;
     }},
    {"delete", [](Setting& setting) { return setting.admin->DeleteProfile(kA, MAPI_UNICODE); },
     [](const Profiles&, const Profiles& now) { return now.empty(); }},
    {"no default", [](Setting& setting) { return setting.admin->SetDefaultProfile(nullptr, MAPI_UNICODE); },
     [](const Profiles& before, const Profiles& now) { return now == before && RecordedDefault() == Text(); }},
};

template <typename Act>
auto Unwatched(Act act) {
  return [act](Setting& setting) {
    UnwatchedSystemCalls unwatched;
    return act(setting);
  };
}

class ProfilesFault : public ProfileWorld {
 protected:
  ProfilesFault() { Setting::before.clear(); }
};

TEST_F(ProfilesFault, OutOfMemoryIsAllOrNothing) {
  for (const Case& test : kCases) {
    SCOPED_TRACE(test.name);
    ForEachAllocationFailure(
        [] { return Setting(); }, Unwatched(test.act),
        [&](Setting& setting, HRESULT hr) {
          const Profiles now = ReadProfiles();
          // The last request of some is that for the new table: all is stored then.
          EXPECT_TRUE(test.is_after(setting.before, now) || (hr == E_OUTOFMEMORY && now == setting.before))
              << std::hex << hr;
          EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY) << std::hex << hr;
        });
  }
}

// One call fails, and what was begun is undone with those after it; or all do from one on, and the next who comes undoes
// it.
TEST_F(ProfilesFault, AFailedCallIsAllOrNothing) {
  for (const Case& test : kCases) {
    SCOPED_TRACE(test.name);
    bool refused = false;
    auto act = [&](Setting& setting) { return test.act(setting); };
    ForEachSystemCallFailure(
        [] { return Setting(); }, act,
        [&](Setting& setting, HRESULT hr) {
          ProfileLock lock;
          EXPECT_EQ(lock.AcquireToRead(kAppKey), S_OK);
          const Profiles now = ReadProfiles();
          EXPECT_TRUE(test.is_after(setting.before, now) || (hr != S_OK && now == setting.before)) << std::hex << hr;
          // Every failing call of the registry; a failing load answers for a library, or for a service without one.
          EXPECT_TRUE(hr == S_OK || hr == E_FAIL || hr == E_INVALIDARG || hr == MAPI_E_NOT_FOUND) << std::hex << hr;
          refused |= hr != S_OK;
        });
    EXPECT_TRUE(refused);
  }
}

// Whatever fails, a profile that is renamed is whole under one of its names, and each profile there is, is whole.
TEST_F(ProfilesFault, RenamingNeverLosesTheProfile) {
  auto act = [](Setting& setting) { return setting.admin->RenameProfile(kA, kB, MAPI_UNICODE); };
  auto check = [](Setting& setting, HRESULT hr) {
    Profiles now = ReadProfiles();
    const Services& services = setting.before.at(kA);
    EXPECT_TRUE(now.count(kB) != 0 || now == setting.before);
    EXPECT_TRUE(now[kB] == services || (hr != S_OK && now[kA] == services));
    EXPECT_TRUE(hr != S_OK || now.count(kA) != 0 || RecordedDefault() != Text());
  };
  ForEachSystemCallFailure([] { return Setting(); }, act, check);
  ForEachAllocationFailure([] { return Setting(); }, Unwatched(act), check);
}

}  // namespace
}  // namespace uab
