#include "platform/registry.h"

#include <gtest/gtest.h>

#include "platform/system_calls.h"
#include "support/hive.h"

namespace uab {
namespace {

class DeleteKeyTreeTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const WCHAR* path : {UAB_TEXT("Top\\a"), UAB_TEXT("Top\\b\\c\\d\\e"), UAB_TEXT("Top\\b\\f")}) {
      ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, path, &top_, nullptr), S_OK);
    }
    ASSERT_EQ(OpenKey(HKEY_CURRENT_USER, UAB_TEXT("Top"), KEY_ALL_ACCESS, &top_), S_OK);
  }
  void TearDown() override { Sys() = SystemCalls(); }

  TestHive hive_;
  UniqueKey top_;
  WCHAR name_[kKeyNameCapacity] = {};
};

LSTATUS RefuseDelete(HKEY, const WCHAR*) { return ERROR_ACCESS_DENIED; }
LSTATUS RefuseOpen(HKEY, const WCHAR*, DWORD, REGSAM, HKEY*) { return ERROR_ACCESS_DENIED; }

TEST_F(DeleteKeyTreeTest, FailureIsTheLastNestedWalksStatus) {
  Sys().reg_open_key = &RefuseOpen;
  EXPECT_EQ(DeleteKeyTree(top_.Get(), name_), E_FAIL);  // no nested walk has completed
  Sys() = SystemCalls();
  Sys().reg_delete_key = &RefuseDelete;
  EXPECT_EQ(DeleteKeyTree(top_.Get(), name_), S_OK);  // "a" was walked, and is still there
  EXPECT_EQ(EnumSubkey(top_.Get(), 0, name_, kKeyNameCapacity), 0);
}

TEST_F(DeleteKeyTreeTest, NamesTooLongForTheBufferEndTheWalk) {
  UniqueKey key;
  ASSERT_EQ(CreateKey(top_.Get(), Text(65, '0').c_str(), &key, nullptr), S_OK);
  EXPECT_EQ(DeleteKeyTree(top_.Get(), name_), E_FAIL);
}

}  // namespace
}  // namespace uab
