// Profiles and services when memory runs out and when system calls fail, at every request: what is stored is as before
// or as after.
#include "profiles/profile_world.h"
#include "support/failure_sweep.h"
#include "support/system_call_failure.h"
#include "support/unwatched_system_calls.h"

namespace uab {
namespace {

WCHAR* const kA = Mutable(UAB_TEXT("a"));
WCHAR* const kB = Mutable(UAB_TEXT("b"));

HRESULT AddService(IMsgServiceAdmin& services) {
  return services.CreateMsgService(Mutable(UAB_TEXT("First")), kB, nullptr, 0, 0, MAPI_UNICODE);
}

// What one run works on: the default profile "a" with a service, and the objects that administer it. What is stored is
// made anew when the run before has changed it.
struct Setting {
  Setting() {
    EXPECT_EQ(UABAdminProfiles(kAppKey, nullptr, MAPI_UNICODE, admin.Put(), 0), S_OK);
    bool as_before = !before.empty() && ReadProfiles() == before && RecordedDefault() == kA;
    if (!as_before) {
      EmptyRoot();
      EXPECT_EQ(admin->CreateProfile(kA, 0, MAPI_UNICODE), S_OK);
      EXPECT_EQ(admin->SetDefaultProfile(kA, MAPI_UNICODE), S_OK);
    }
    EXPECT_EQ(admin->AdminServices(kA, MAPI_UNICODE, services.Put()), S_OK);
    if (as_before) return;
    EXPECT_EQ(AddService(*services.Get()), S_OK);
    UnwatchedScope lasting;
    before = ReadProfiles();
    Bytes bytes = before[kA].begin()->second.at(UAB_TEXT("1024196866"));
    std::copy_n(&bytes[32], sizeof(uid), uid.ab);
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
    {"create", [](Setting& setting) { return setting.admin->CreateProfile(kB, 0, MAPI_UNICODE | MAPI_DEFAULT_SERVICES); },
     [](const Profiles& before, const Profiles& now) {
       return now.size() == 2 && now.at(kA) == before.at(kA) && now.at(kB).size() == 2;
     }},
    {"copy", [](Setting& setting) { return setting.admin->CopyProfile(kA, kB, MAPI_UNICODE); },
     [](const Profiles& before, const Profiles& now) {
       return now == Profiles{{kA, before.at(kA)}, {kB, before.at(kA)}};
     }},
    {"add a service", [](Setting& setting) { return AddService(*setting.services.Get()); },
     [](const Profiles& before, const Profiles& now) {
       const auto& [uid, values] = *before.at(kA).begin();
       return now.at(kA).size() == 2 && now.at(kA).at(uid) == values;
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
};

class ProfilesFault : public ProfileWorld {
 protected:
  ProfilesFault() { Setting::before.clear(); }
};

TEST_F(ProfilesFault, OutOfMemoryIsAllOrNothing) {
  for (const Case& test : kCases) {
    SCOPED_TRACE(test.name);
    ForEachAllocationFailure([] { return Setting(); },
                             [&](Setting& setting) {
                               UnwatchedSystemCalls unwatched;
                               return test.act(setting);
                             },
                             [&](Setting& setting, HRESULT hr) {
                               const Profiles now = ReadProfiles();
                               if (hr == S_OK) {
                                 EXPECT_TRUE(test.is_after(setting.before, now));
                               } else {
                                 EXPECT_EQ(hr, E_OUTOFMEMORY);
                                 // The last request of some is that for the new table: all is stored then.
                                 EXPECT_TRUE(now == setting.before || test.is_after(setting.before, now));
                               }
                             });
  }
}

// The n-th call alone fails, so that what was begun can be undone with those after it.
TEST_F(ProfilesFault, AFailedCallIsAllOrNothing) {
  for (const Case& test : kCases) {
    for (std::uint32_t request = 1;; ++request) {
      SCOPED_TRACE(test.name);
      SCOPED_TRACE(request);
      Setting setting;
      Countdown countdown(request);
      HRESULT hr;
      {
        SystemCallCountdownScope scope(countdown);
        hr = test.act(setting);
      }
      const Profiles now = ReadProfiles();
      EXPECT_TRUE(hr == S_OK ? test.is_after(setting.before, now) : now == setting.before || test.is_after(setting.before, now))
          << std::hex << hr;
      if (countdown.refused() == 0) {
        EXPECT_EQ(hr, S_OK);
        break;
      }
      if (HasFailure()) return;
    }
  }
}

// Whatever fails, a profile that is renamed is whole under one of its names, and each profile there is, is whole.
TEST_F(ProfilesFault, RenamingNeverLosesTheProfile) {
  auto act = [](Setting& setting) { return setting.admin->RenameProfile(kA, kB, MAPI_UNICODE); };
  auto check = [](Setting& setting, HRESULT hr) {
    Profiles now = ReadProfiles();
    const Services& services = setting.before.at(kA);
    EXPECT_TRUE(now.count(kB) != 0 || now == setting.before);
    if (hr == S_OK) {
      EXPECT_EQ(now.at(kB), services);
      if (now.count(kA) == 0) {
        EXPECT_NE(RecordedDefault(), Text());
      }
    } else {
      EXPECT_TRUE((now.count(kA) != 0 && now.at(kA) == services) || now.at(kB) == services);
    }
  };
  ForEachSystemCallFailure([] { return Setting(); }, act, check);
  ForEachAllocationFailure([] { return Setting(); },
                           [&](Setting& setting) {
                             UnwatchedSystemCalls unwatched;
                             return act(setting);
                           },
                           check);
}

}  // namespace
}  // namespace uab
