#include "session/logon.h"

#include "session/staged_world.h"

namespace uab {
namespace {

TEST_F(LogonTest, ResolvesTheDefaultOrTheNamedProfile) {
  WCHAR longest[66] = {};
  std::fill_n(longest, 64, WCHAR{'x'});
  ASSERT_EQ(profiles->CreateProfile(longest, 0, MAPI_UNICODE), S_OK);
  Text longer(65, WCHAR{'x'});
  const struct {
    const WCHAR* marked;  // as the default
    ULONG flags;
    const WCHAR* name;
    const WCHAR* resolved;
    HRESULT failure;
  } cases[] = {
      {two, 0, empty, empty, S_OK},
      {two, UAB_DEFAULT_PROFILE, empty, two, S_OK},  // whatever the name says
      {two, UAB_DEFAULT_PROFILE, nullptr, two, S_OK},
      {two, UAB_LOGON_UNKNOWN_FLAGS, empty, empty, S_OK},
      {two, 0, longest, longest, S_OK},
      {two, 0, longer.c_str(), nullptr, MAPI_E_LOGON_FAILED},
      {two, 0, UAB_TEXT("two"), nullptr, MAPI_E_LOGON_FAILED},  // in another case
      {two, 0, UAB_TEXT("Three"), nullptr, MAPI_E_LOGON_FAILED},
      {two, 0, UAB_TEXT(""), nullptr, MAPI_E_LOGON_FAILED},
      {two, 0, nullptr, nullptr, MAPI_E_LOGON_FAILED},
      {two, UAB_LOGON_UNKNOWN_FLAGS, nullptr, nullptr, MAPI_E_UNKNOWN_FLAGS},
      {nullptr, UAB_DEFAULT_PROFILE, two, nullptr, MAPI_E_LOGON_FAILED},
      {nullptr, UAB_DEFAULT_PROFILE | UAB_LOGON_UNKNOWN_FLAGS, two, nullptr, MAPI_E_UNKNOWN_FLAGS},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    HRESULT marked = profiles->SetDefaultProfile(const_cast<WCHAR*>(c.marked), MAPI_UNICODE);
    ASSERT_TRUE(Succeeded(marked) || c.marked == nullptr);  // there may be none to clear
    ProfileName resolved;
    EXPECT_EQ(ResolveProfile({app_key, nullptr, 0, c.flags | MAPI_UNICODE}, c.name, resolved), c.failure);
    EXPECT_TRUE(c.resolved == nullptr || Text(resolved) == c.resolved);
  }
}

}  // namespace
}  // namespace uab
