// Profiles and services when memory runs out and when system calls fail, at every request: what is stored is as before
// or as after.
#include "profiles/profile_operations.h"
#include "support/failure_sweep.h"
#include "support/fault_count.h"

namespace uab {
namespace {

class ProfilesFault : public ProfileOperations {
 protected:
  void Sweep(Requests requests, std::initializer_list<HRESULT> failures) {
    for (const Operation& operation : kOperations) {
      if (operation.dialog != nullptr) continue;
      SCOPED_TRACE(operation.name);
      const std::vector<std::string> whole = WholePictures(operation);
      bool failed = false;
      auto prepare = [&] {
        Restore();
        ComPtr<IProfAdmin> admin;
        ComPtr<IMAPITable> table;  // is read now
        EXPECT_EQ(UABAdminProfiles(kAppKey, nullptr, MAPI_UNICODE, admin.Put(), 0), S_OK);
        EXPECT_EQ(admin->GetProfileTable(MAPI_UNICODE, table.Put()), S_OK);
        return admin;
      };
      auto act = [&](ComPtr<IProfAdmin>& admin) { return operation.act(*admin.Get()); };
      auto check = [&](ComPtr<IProfAdmin>&, HRESULT hr) {
        const std::string found = Picture();
        EXPECT_NE(std::count(whole.begin(), whole.end(), found), 0) << found << "\nbefore:\n" << whole.front();
        const bool many = !operation.steps.empty();  // what is needed in between can't be had then
        EXPECT_TRUE(hr == S_OK || (many && hr == E_FAIL) || std::count(failures.begin(), failures.end(), hr) == 1)
            << std::hex << hr;
        EXPECT_TRUE(hr != S_OK || found != whole.front() || !operation.reports);
        failed |= hr != S_OK;
      };
      SweepFailures(requests, prepare, act, check, {.stride = Stride(9)});
      EXPECT_TRUE(failed || !operation.reports);
    }
  }
};

TEST_F(ProfilesFault, OutOfMemoryIsAllOrNothing) { Sweep(Requests::kAllocations, {E_OUTOFMEMORY}); }

// One call fails, and what was begun is undone with those after it; or all do from one on, and the next who comes
// undoes it. A failing load answers for a library, or for a service without one.
TEST_F(ProfilesFault, AFailedCallIsAllOrNothing) {
  Sweep(Requests::kSystemCalls, {E_FAIL, E_INVALIDARG, MAPI_E_NOT_FOUND});
}

// Stands for RegSetValueExW where it fails; what is there already can be written.
LSTATUS (*refuse)(const Text& name, const Data& data);
LSTATUS UAB_CALL SetUnlessRefused(HKEY key, const WCHAR* name, DWORD, DWORD type, const BYTE* bytes, DWORD size) {
  const Data data(bytes, bytes + size);
  LSTATUS status = ReadBytes(key, name) == data ? 0 : refuse(name, data);
  return status != 0 ? status : RegSetValueExW(key, name, 0, type, bytes, size);
}

TEST_F(ProfilesFault, AFullDiskAllowsDeletingOnly) {
  refuse = [](const Text&, const Data&) { return static_cast<LSTATUS>(ERROR_DISK_FULL); };
  for (const Operation& operation : kOperations) {
    if (operation.dialog != nullptr || !operation.reports) continue;
    const std::string name = operation.name;
    const bool deletes = name == "delete" || name == "remove a service" || name == "no default";
    const std::vector<std::string> whole = WholePictures(operation);
    Restore();
    Sys().reg_set_value = &SetUnlessRefused;
    EXPECT_EQ(Run(operation.act), deletes ? S_OK : E_FAIL) << name;
    Sys().reg_set_value = &RegSetValueExW;
    EXPECT_EQ(Picture(), deletes ? whole.back() : whole.front()) << name;
  }
}

TEST_F(ProfilesFault, WhatCantBeUndoneWaitsForItsOwnProfile) {
  refuse = [](const Text& name, const Data& data) {  // no comment, and no way back to an old display name
    const bool refused = name == UAB_TEXT("805568543") || (name == UAB_TEXT("805371935") && data[32] < 'a');
    return static_cast<LSTATUS>(refused ? ERROR_ACCESS_DENIED : 0);
  };
  std::map<std::string, Act> acts;
  for (const Operation& operation : kOperations) acts[operation.name] = operation.act;
  for (const char* last : {"delete", "remove a service", "no default"}) {
    Restore();
    const Services before = ReadProfiles()[kA];
    Sys().reg_set_value = &SetUnlessRefused;
    for (const char* own : {"save a section", "save a section", "rename"}) EXPECT_EQ(Run(acts[own]), E_FAIL) << own;
    for (const char* other : {"default", "add a service"}) EXPECT_EQ(Run(acts[other]), S_OK) << other;
    const bool deletes = acts[last] != acts["no default"];
    if (!deletes) Sys().reg_set_value = &RegSetValueExW;  // the obstacle goes
    EXPECT_EQ(Run(acts[last]), S_OK) << last;
    EXPECT_EQ(Picture().find("Unfinished"), std::string::npos) << last;
    EXPECT_TRUE(deletes || ReadProfiles()[kA].begin()->second == before.begin()->second);
    Sys().reg_set_value = &RegSetValueExW;
  }
}

}  // namespace
}  // namespace uab
