// The provider libraries of a session's tests, with a fake provider behind each. What happens to the libraries is kept
// as events: "O0" opened, "R0" object gone, "U0" unloaded, with the library's number. Each call of a provider, and each
// Release of what it handed out, runs through its library: one that comes when the library is gone fails the test, and
// so does a library that goes during one.
#pragma once

#include <gtest/gtest.h>

#include "platform/com_ptr.h"
#include "session/provider_stage.h"
#include "support/adr_list.h"
#include "support/fake_provider.h"
#include "support/hive.h"
#include "support/loaded_module.h"
#include "support/values.h"

namespace uab {

inline constexpr char kLibrary0[] = "staged_provider_0.plugin";
inline constexpr char kLibrary1[] = "staged_provider_1.plugin";

// Each provider has a container "people", and a list "team" of ann, bob and the other provider's team.
class StagedWorld : public ProviderStage, NonCopyable {
 public:
  struct Role {
    // What it does when it is opened.
    HRESULT answer = S_OK;
    bool has_object = true;
    bool registers = true;
    bool keeps_support = false;  // in `support`
    bool keeps_section = false;  // until its object is gone

    ComPtr<IUABSupport> support;
    ComPtr<IMAPIProp> section;
    Opening seen = {};
  };

  StagedWorld();

  static bool NothingLoaded();
  ULONG held() const { return providers[0].held() + providers[1].held(); }

  std::shared_ptr<FakeCalls> calls = std::make_shared<FakeCalls>();
  FakeProvider providers[2] = {FakeProvider('A', "a", calls), FakeProvider('B', "b", calls)};
  Role roles[2];
  std::string events;
  std::function<void()> in_call;  // runs inside each call, from the library's code

 private:
  HRESULT Open(int number, const Opening& opening);
  void Call(int number, std::string_view slot);
  void Note(char what, int number);
};

// Profiles in a hive of their own: "Two" with both libraries, "Empty" without services. Nothing may stay loaded when a
// test has ended.
class LogonTest : public testing::Test {
 public:
  void SetUp() override;
  void TearDown() override;

  HRESULT Open(WCHAR* name, ComPtr<IUABSession>& session, IAddrBook** address_book = nullptr, ULONG flags = 0);
  AdrListPtr ListOf(int number);  // an address list with a provider's team, to be copied to
  static HRESULT Expand(IUABSession& session, AdrListPtr& list);

  TestHive hive;
  WCHAR app_key[8] = {'S', 't', 'a', 'g', 'e', 'd'};
  WCHAR two[8] = {'T', 'w', 'o'};
  WCHAR empty[8] = {'E', 'm', 'p', 't', 'y'};
  StagedWorld world;
  ComPtr<IProfAdmin> profiles;
};

// All that profiles have stored, as the next process finds it.
std::string Stored();

// Lets the list be replaced by a function of a raw pointer.
template <typename Function>
HRESULT ReplaceIn(AdrListPtr& list, Function&& replace) {
  ADRLIST* raw = list.Detach();
  HRESULT hr = replace(raw);
  list.Reset(raw);
  return hr;
}

}  // namespace uab
