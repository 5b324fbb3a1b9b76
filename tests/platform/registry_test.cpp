#include "platform/registry.h"

#include <gtest/gtest.h>

#include "platform/system_calls.h"
#include "support/hive.h"

namespace uab {
namespace {

TEST(DeleteKeyTree, FailureIsTheLastNestedWalksStatus) {
  TestHive hive;
  UniqueKey top, key;
  WCHAR name[kKeyNameCapacity] = {};
  for (const WCHAR* path : {UAB_TEXT("Top\\a"), UAB_TEXT("Top\\b\\c\\d\\e"), UAB_TEXT("Top\\b\\f"), UAB_TEXT("Top")}) {
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, path, &top, nullptr), S_OK);
  }
  Sys().reg_open_key = [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; };
  EXPECT_EQ(DeleteKeyTree(top.Get(), name), E_FAIL) << "no nested walk has completed";
  Sys() = SystemCalls();
  Sys().reg_delete_key = [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; };
  EXPECT_EQ(DeleteKeyTree(top.Get(), name), S_OK) << "'a' was walked, and is still there";
  EXPECT_EQ(EnumSubkey(top.Get(), 0, name, kKeyNameCapacity), 0);
  Sys() = SystemCalls();
  ASSERT_EQ(CreateKey(top.Get(), Text(65, '0').c_str(), &key, nullptr), S_OK);
  EXPECT_EQ(DeleteKeyTree(top.Get(), name), E_FAIL) << "a name too long for the buffer ends the walk";
}

}  // namespace
}  // namespace uab
