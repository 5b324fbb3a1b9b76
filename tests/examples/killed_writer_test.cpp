// A process that is killed at any call of the system while it writes an address file: the file is the old or the new
// one, whole.
#include <gtest/gtest.h>

#include "file_io.h"
#include "support/hive.h"
#include "support/killed_process.h"

namespace uab::vcard {
namespace {

TEST(ReplaceFileContent, AKilledWriterLeavesAWholeFile) {
  const TestHive hive;
  const std::filesystem::path path = hive.Folder() / "a.vcf";
  const std::string before(300000, 'a'), after(400000, 'b');
  int kept = 0;
  for (std::uint32_t call = 1;; ++call) {
    ASSERT_TRUE(ReplaceFileContent(path, before));
    const ChildEnd end = RunKilledAt(call, [&] { ReplaceFileContent(path, after); });
    const std::string found = ReadWholeFile(path).value_or("");
    ASSERT_TRUE(found == before || found == after) << found.size() << " bytes, killed at call " << call;
    if (found == before) ++kept;
    ASSERT_TRUE(end == ChildEnd::kKilled || found == after);
    if (end == ChildEnd::kDone) break;
  }
  EXPECT_GT(kept, 3) << "the file is opened, written and put in its place";
}

}  // namespace
}  // namespace uab::vcard
