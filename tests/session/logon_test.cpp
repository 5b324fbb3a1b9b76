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

TEST_F(LogonTest, StoresTheSessionAndItsAddressBook) {
  ComPtr<IUABSession> session;
  ComPtr<IAddrBook> address_book;
  ComPtr<IAddrBook> again;
  ASSERT_EQ(Open(empty, session), S_OK);
  EXPECT_EQ(session->OpenAddressBook(0, address_book.Put()), S_OK);
  EXPECT_EQ(world.events, "");
  address_book.Reset();

  ASSERT_EQ(Open(two, session, address_book.Put()), S_OK);
  EXPECT_EQ(session->OpenAddressBook(0, again.Put()), S_OK);
  EXPECT_EQ(again.Get(), address_book.Get());
  EXPECT_EQ(world.roles[0].seen.app_key, app_key);
  EXPECT_EQ(world.roles[1].seen.resources, reinterpret_cast<HINSTANCE>(this));
}

TEST_F(LogonTest, AFailureLeavesNothingLoadedAndNothingWritten) {
  world.roles[1].answer = kFakeFailure;
  world.roles[0].keeps_section = true;
  ProviderStage& stage = world;
  auto* session = reinterpret_cast<IUABSession*>(this);
  auto* address_book = reinterpret_cast<IAddrBook*>(this);
  EXPECT_EQ(UABOpen(app_key, nullptr, reinterpret_cast<ULONG_PTR>(&stage), two, MAPI_UNICODE, nullptr, nullptr, nullptr,
                    &address_book, &session, 0),
            kFakeFailure);
  EXPECT_TRUE(static_cast<void*>(session) == this && static_cast<void*>(address_book) == this);
}

}  // namespace
}  // namespace uab
