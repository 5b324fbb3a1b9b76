// Profiles in a hive of their own: "Two" with both staged providers, "Empty" without services. Nothing may stay loaded
// when a test has ended.
#pragma once

#include <gtest/gtest.h>

#include "keluab/keluab.h"
#include "platform/com_ptr.h"
#include "session/fake_directory.h"
#include "session/provider_stage.h"
#include "support/hive.h"
#include "support/loaded_module.h"

namespace uab {

// An address list with the list of one staged provider, to be copied to; null when there is no memory.
AdrListPtr ListOf(int number);

// Expands the lists in it.
HRESULT Expand(IUABSession& session, AdrListPtr& list);

class LogonFixture : public testing::Test {
 public:
  void SetUp() override {
    ASSERT_EQ(UABAdminProfiles(app_key, nullptr, MAPI_UNICODE, profiles.Put(), 0), S_OK);
    ASSERT_EQ(profiles->CreateProfile(two, 0, MAPI_UNICODE | MAPI_DEFAULT_SERVICES), S_OK);
    ASSERT_EQ(profiles->CreateProfile(empty, 0, MAPI_UNICODE), S_OK);
  }
  void TearDown() override { EXPECT_TRUE(NothingLoaded()); }

  HRESULT Open(WCHAR* name, ComPtr<IUABSession>& session, IAddrBook** address_book = nullptr, ULONG flags = 0) {
    return UABOpen(app_key, reinterpret_cast<HINSTANCE>(this), reinterpret_cast<ULONG_PTR>(&stage), name,
                   flags | MAPI_UNICODE, nullptr, nullptr, nullptr, address_book, session.Put(), 0);
  }
  static bool NothingLoaded() {
    return !IsModuleLoaded("staged_provider_0.plugin") && !IsModuleLoaded("staged_provider_1.plugin");
  }

  TestHive hive;
  WCHAR app_key[8] = {'S', 't', 'a', 'g', 'e', 'd'};
  WCHAR two[8] = {'T', 'w', 'o'};
  WCHAR empty[8] = {'E', 'm', 'p', 't', 'y'};
  ProviderStage stage;
  ComPtr<IProfAdmin> profiles;
};

}  // namespace uab
