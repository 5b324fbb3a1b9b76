// What a host does in a session, in an order and with arguments that the input gives: identifiers, address lists, rows.
// The providers are the target's own.
#pragma once

#include <map>
#include <vector>

#include "addrbook/addr_book.h"
#include "fuzz/registry.h"
#include "fuzz/values.h"
#include "profiles/provider_support.h"
#include "session/session.h"

namespace uab::fuzz {

class HostScript : NonCopyable {
 public:
  struct Provider {
    IAddrBook* object;  // borrowed
    MAPIUID uid;
  };
  // ids: identifiers that providers know. honest: the providers keep to what they promise, and so must all that the
  // session tells of them.
  HostScript(Input& input, std::vector<Provider> providers, std::vector<std::string> ids, bool honest);

  // Logs on, does up to so many things, and logs off. Everything is given back then.
  void Run(int steps);

  // For a provider, inside a call: the address book (null: none yet), and the end of the session.
  IAddrBook* book() const noexcept { return book_.Get(); }
  void EndSession() noexcept { session_.Reset(); }

 private:
  using Path = std::vector<std::string>;

  void LogOn();
  void LogOff();
  void Step();
  void Open();
  void Browse(IABContainer& root);
  void Compare();
  void Prepare();
  void Expand();
  void SetDefaults();
  void SetPath();
  void Watch();
  void NewEntry();
  void Refused();
  void Delete();
  void Copy();

  std::string DrawId();
  SBinary DrawRun(void* head);
  ComPtr<IUnknown> OpenAny();
  ADRLIST* DrawList();
  std::vector<Path> PathInForce();

  Input& input_;
  const std::vector<Provider> providers_;
  const std::vector<std::string> ids_;
  const bool honest_;
  bool copied_ = false;  // so that an entry may be another one now
  Registry registry_;
  ComPtr<UABSession> session_;
  ComPtr<IAddrBook> book_;
  ComPtr<ProviderSupport> support_;
};

}  // namespace uab::fuzz
