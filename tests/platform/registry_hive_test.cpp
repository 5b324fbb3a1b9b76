// What the hive on files promises beyond the calls: between threads and between processes. What a killed process leaves
// is seen where profiles are changed.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <set>
#include <thread>
#include <vector>

#include "platform/registry.h"
#include "platform/system_calls.h"
#include "support/hive.h"

namespace uab {
namespace {

class RegistryHive : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, u"Shared", &key_, nullptr), S_OK); }

  static pid_t Fork(const std::function<void()>& body) {
    pid_t child = fork();
    if (child == 0) {
      body();
      _exit(0);
    }
    return child;
  }
  static int StatusOf(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return status;
  }
  // Makes a hundred keys and values; stops the process at a failure.
  static void WriteHundred(HKEY key, char16_t initial) {
    for (int i = 0; i < 100; ++i) {
      std::u16string name = initial + std::u16string(1 + static_cast<std::size_t>(i), u'0');
      UniqueKey made;
      if (Failed(CreateKey(key, name.c_str(), &made, nullptr))) abort();
      if (Failed(SetText(key, name.c_str(), name.c_str()))) abort();
    }
  }
  std::set<std::u16string> Walk(LSTATUS (*next)(HKEY, DWORD, WCHAR*, DWORD) noexcept) {
    std::set<std::u16string> names;
    WCHAR name[256];
    for (DWORD i = 0; next(key_.Get(), i, name, 256) == ERROR_SUCCESS; ++i) names.insert(name);
    return names;
  }

  TestHive hive_;
  UniqueKey key_;
};

TEST_F(RegistryHive, ProcessesAndThreadsLoseNothing) {
  pid_t children[] = {Fork([&] { WriteHundred(key_.Get(), u'a'); }), Fork([&] { WriteHundred(key_.Get(), u'b'); })};
  for (int i = 0; i < 50; ++i) Walk(&EnumSubkey);  // a listing made meanwhile must not go stale
  for (pid_t child : children) EXPECT_EQ(StatusOf(child), 0);
  std::vector<std::thread> threads;
  for (char16_t initial : {u'c', u'd'}) threads.emplace_back([this, initial] { WriteHundred(key_.Get(), initial); });
  for (int i = 0; i < 20; ++i) Walk(&EnumSubkey);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Walk(&EnumSubkey).size(), 400u);
  EXPECT_EQ(Walk(&EnumValueName).size(), 400u);
}

TEST_F(RegistryHive, ForeignFilesAreNoValues) {
  std::filesystem::path folder = hive_.Folder() / "config/keluab/registry/shared";
  std::ofstream(folder / "junk.value") << "KAV1 but too short";
  std::ofstream(folder / "noise") << "text";
  std::filesystem::create_directory(folder / "folder");
  EXPECT_TRUE(Walk(&EnumValueName).empty());
  EXPECT_TRUE(Walk(&EnumSubkey).empty());
  DWORD size = 0;
  EXPECT_EQ(Sys().reg_query_value(key_.Get(), u"junk", nullptr, nullptr, nullptr, &size),
            LSTATUS(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(SetText(key_.Get(), u"junk", u"good"), S_OK);
  UniqueKey made;
  EXPECT_EQ(CreateKey(key_.Get(), u"folder", &made, nullptr), S_OK);
  EXPECT_EQ(Walk(&EnumValueName).size(), 1u);
  EXPECT_EQ(Walk(&EnumSubkey).size(), 1u);
}

}  // namespace
}  // namespace uab
