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

}  // namespace
}  // namespace uab
