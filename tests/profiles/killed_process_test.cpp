// A process that is killed at any call of the system during any operation on stored profiles: the next process finds
// each profile whole, as before or as after, and goes on.
#include "support/killed_process.h"

#include <optional>
#include <set>

#include "profiles/profile_operations.h"
#include "support/dialog_script.h"
#include "support/fault_count.h"

namespace uab {
namespace {

using KilledProcess = ProfileOperations;

TEST_F(KilledProcess, LeavesEachProfileWholeAndTheNextOneGoesOn) {
  const std::uint32_t kStride = Stride(199);
  std::uint32_t first = 0;
  for (const Operation& operation : kOperations) {
    first += 37;
    const std::vector<std::string> whole = WholePictures(operation);
    std::set<std::string> seen;
    ChildEnd end = ChildEnd::kKilled;
    for (std::uint32_t call = 1 + first % kStride; end == ChildEnd::kKilled; call += kStride) {
      SCOPED_TRACE(testing::Message() << operation.name << ", killed at call " << call);
      Restore();
      {
        std::optional<DialogScript> user;
        if (operation.dialog != nullptr) user.emplace(operation.dialog);
        end = RunKilledAt(call, [&] {
          if (Failed(Run(operation.act))) abort();
        });
      }
      const std::string found = Picture();
      ASSERT_NE(std::count(whole.begin(), whole.end(), found), 0) << found << "\nbefore:\n" << whole.front();
      ASSERT_TRUE(end == ChildEnd::kKilled || found == whole.back());
      seen.insert(found);
      if (found == whole.front() && operation.dialog == nullptr) {
        ASSERT_EQ(Run(operation.act), S_OK);
        ASSERT_EQ(Picture(), whole.back());
      } else {
        ASSERT_EQ(Run([](IProfAdmin& admin) { return admin.CopyProfile(kC, Mutable(UAB_TEXT("d")), MAPI_UNICODE); }),
                  S_OK);
      }
    }
    EXPECT_TRUE(!IsSoak() || seen.size() > 1) << "killed too early or too late to see anything";
  }
}

}  // namespace
}  // namespace uab
