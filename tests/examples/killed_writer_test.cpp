// A process that is killed while it writes an address file: the file is the old or the new one, whole.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "file_io.h"
#include "support/hive.h"

namespace uab::vcard {
namespace {

TEST(ReplaceFileContent, AKilledWriterLeavesAWholeFile) {
  const TestHive hive;
  const std::filesystem::path path = hive.Folder() / "a.vcf";
  const std::string contents[] = {std::string(300000, 'a'), std::string(400000, 'b')};
  ASSERT_TRUE(ReplaceFileContent(path, contents[0]));
  int changed = 0;
  for (int round = 0; round < 60; ++round) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (int i = 1;; ++i) ReplaceFileContent(path, contents[i % 2]);
    }
    usleep(static_cast<useconds_t>(200 + 331 * round));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string found = ReadWholeFile(path).value_or("");
    ASSERT_TRUE(found == contents[0] || found == contents[1]) << found.size() << " bytes in round " << round;
    if (found == contents[1]) ++changed;
  }
  EXPECT_GT(changed, 0) << "no child has ever come to write";
}

}  // namespace
}  // namespace uab::vcard
