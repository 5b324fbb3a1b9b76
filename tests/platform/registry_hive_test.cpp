// What the hive on files promises beyond the calls: processes and threads that change one key at once lose nothing.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <thread>
#include <vector>

#include "platform/registry.h"
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

}  // namespace
}  // namespace uab
