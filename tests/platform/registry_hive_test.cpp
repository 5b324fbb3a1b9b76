// What the hive on files promises beyond the calls: processes and threads that change one key at once lose nothing.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <thread>
#include <vector>

#include "platform/posix/registry_hive.h"
#include "platform/registry.h"
#include "platform/user_mutex.h"
#include "platform/wait_scope.h"
#include "support/hive.h"

namespace uab {
namespace {

// Makes a hundred keys and values; stops the process at a failure.
void WriteHundred(HKEY key, WCHAR initial) {
  for (std::size_t i = 1; i <= 100; ++i) {
    const Text name = initial + Text(i, u'0');
    UniqueKey made;
    if (Failed(CreateKey(key, name.c_str(), &made, nullptr))) abort();
    if (Failed(SetText(key, name.c_str(), name.c_str()))) abort();
  }
}

std::size_t Count(HKEY key, LSTATUS (*next)(HKEY, DWORD, WCHAR*, DWORD) noexcept) {
  std::set<Text> names;
  WCHAR name[256];
  for (DWORD i = 0; next(key, i, name, 256) == ERROR_SUCCESS; ++i) names.insert(name);
  return names.size();
}

TEST(RegistryHive, ProcessesAndThreadsLoseNothing) {
  TestHive hive;
  UniqueKey key;
  ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, u"Shared", &key, nullptr), S_OK);
  const pid_t child = fork();
  if (child == 0) {
    WriteHundred(key.Get(), u'a');
    _exit(0);
  }
  std::vector<std::thread> threads;
  for (WCHAR initial : {u'b', u'c'}) threads.emplace_back([&, initial] { WriteHundred(key.Get(), initial); });
  for (int i = 0; i < 40; ++i) Count(key.Get(), &EnumSubkey);  // a listing made meanwhile must not go stale
  for (std::thread& thread : threads) thread.join();
  int status = -1;
  EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0);
  EXPECT_EQ(Count(key.Get(), &EnumSubkey), 300u);
  EXPECT_EQ(Count(key.Get(), &EnumValueName), 300u);
}

bool Opens(const WCHAR* path) {
  UniqueKey key;
  return OpenKey(HKEY_CURRENT_USER, path, KEY_READ, &key) == S_OK;
}

TEST(RegistryHive, AKeyFileThatAPowerLossTook) {
  TestHive hive;
  const std::filesystem::path top = hive.Folder() / "config/keluab/registry/top";
  UniqueKey key;
  for (bool missing : {false, true}) {
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, u"Top\\Sub\\Deep", &key, nullptr), S_OK);
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, u"Top\\Value", &key, nullptr) + SetText(key.Get(), u"v", u""), S_OK);
    for (const auto& file : {top / "../.key", top / ".key", top / "sub/.key", top / "value/.key"}) {
      missing ? (void)std::filesystem::remove(file) : std::filesystem::resize_file(file, 0);
    }
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Top"), LSTATUS(ERROR_ACCESS_DENIED));
    EXPECT_EQ(CreateKey(HKEY_CURRENT_USER, u"Top\\New", &key, nullptr), S_OK);
    EXPECT_TRUE(Opens(u"Top\\Sub\\Deep") && file_size(top / "sub/.key") > 0) << missing;
    EXPECT_EQ(Opens(u"Top\\Value"), !missing) << "it was being deleted";
  }
}

TEST(RegistryHive, ANameFiledByTheFormerRule) {
  TestHive hive;
  const std::filesystem::path root = hive.Folder() / "config/keluab/registry";
  UniqueKey key;
  ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, u"\u017F", &key, nullptr) + SetText(key.Get(), u"\u017F", u""), S_OK);
  std::filesystem::rename(root / "%017f/%017f.value", root / "%017f/s.value");
  std::filesystem::rename(root / "%017f", root / "s");
  EXPECT_EQ(Count(HKEY_CURRENT_USER, &EnumSubkey) + Count(key.Get(), &EnumValueName), 2u);
  EXPECT_TRUE(Opens(u"\u017F") && !Opens(u"s"));
  EXPECT_EQ(CreateKey(HKEY_CURRENT_USER, u"s", &key, nullptr), S_OK);
  EXPECT_EQ(OpenKey(HKEY_CURRENT_USER, u"\u017F", KEY_ALL_ACCESS, &key) + SetText(key.Get(), u"s", u""), S_OK);
  EXPECT_TRUE(exists(root / "%017f/%017f.value") && exists(root / "%017f/s.value"));
}

TEST(RegistryHive, LocksThatSomebodyElseHas) {
  TestHive hive;
  UniqueKey key;
  std::shared_ptr<const Hive> files;
  ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, u"Key", &key, nullptr) + OpenHive(true, &files), 0);
  longest_wait = 200;
  pid_t child;
  {
    HiveLock lock;
    ASSERT_EQ(lock.Acquire(*files, HiveLock::Mode::kWrite), 0);
    const UniqueUserMutex mutex(AcquireUserMutex(true));
    const std::uint64_t start = GetTickCount64();
    for (int i = 0; i < 9; ++i) EXPECT_EQ(SetText(key.Get(), u"v", u""), E_FAIL);
    EXPECT_EQ(Count(HKEY_CURRENT_USER, &EnumSubkey), 1u) << "reading goes on";
    EXPECT_NEAR(static_cast<double>(GetTickCount64() - start), 600, 400) << "one wait";
    if (child = fork(); child == 0) pause();  // has the open files of both
  }
  EXPECT_TRUE(SetText(key.Get(), u"v", u"") == S_OK && UniqueUserMutex(AcquireUserMutex(true)));
  EXPECT_TRUE(kill(child, SIGKILL) == 0 && waitpid(child, nullptr, 0) == child);
  longest_wait = 10'000;
}

}  // namespace
}  // namespace uab
