// One loaded provider of a session: its library, its object, and the MAPIUIDs that it registered. Counted, so that
// whoever calls the provider keeps object and library until the call is over, whatever ends meanwhile. Filled by one
// thread before it is pushed on the list; then only its identifiers change, under the list's lock.
#pragma once

#include <atomic>
#include <memory>

#include "keluab/provider.h"
#include "platform/com_ptr.h"
#include "platform/noncopyable.h"
#include "platform/unique_resource.h"
#include "profiles/provider_support.h"
#include "session/uid_index.h"

namespace uab {

class ProviderList;

// The identifiers that one entry registered; guarded by the list's lock. Its registrars share it, so it may outlive the
// entry: it is closed then.
struct ProviderUids {
  static constexpr ULONG kNotPushed = 0xFFFFFFFFu;

  UidSet registered;
  ULONG entry = kNotPushed;  // the entry's number in the list's index
  bool closed = false;
};

class ProviderEntry : NonCopyable {
 public:
  // Stores an entry with one reference, empty but for its list, which outlives it while it is not pushed.
  // E_OUTOFMEMORY.
  static HRESULT Create(ProviderList& list, ComPtr<ProviderEntry>& entry) noexcept;

  ULONG AddRef() noexcept { return ++references_; }
  ULONG Release() noexcept;

  // Stores a support object that registers with this entry for as long as the list keeps it, and holds a reference to
  // the list. E_OUTOFMEMORY. REQUIRES: not pushed yet.
  HRESULT MakeSupport(ComPtr<ProviderSupport>& support) noexcept;

  UniqueLibrary library;
  ABProviderOpenFunction open_routine = nullptr;
  UABServiceEntryFunction service_routine = nullptr;
  MAPIUID service_uid{};
  ComPtr<IAddrBook> provider;  // declared behind the library: released before it is freed

 private:
  friend class ProviderList;
  explicit ProviderEntry(ProviderList& list) : list_(&list), uids_(std::make_shared<ProviderUids>()) {}
  ~ProviderEntry();

  std::atomic<ULONG> references_ = 1;
  ProviderList* list_;  // null from when the list has freed it
  std::shared_ptr<ProviderUids> uids_;
};

}  // namespace uab
