// The notification connections of an address book: which provider's connection stands behind each number that a caller
// got, so that it can be withdrawn. Any thread may call. No call into a provider is made under the lock, so a provider
// may make and withdraw connections while it is asked to.
#pragma once

#include <map>

#include "frame/com_object.h"
#include "keluab/addrbook.h"
#include "session/provided_object.h"

namespace uab {

class AdviseList final : public ComObject<AdviseList, IUnknown> {
 public:
  // Stores an empty list. E_OUTOFMEMORY.
  static HRESULT Create(ComPtr<AdviseList>& list) noexcept;
  ~AdviseList();  // as Close

  // Has the provider watch the entry and stores the connection's number: 1, 2, 3 ..., never reused. On an error no
  // connection is left behind. E_OUTOFMEMORY: the provider has not been asked. MAPI_E_END_OF_SESSION: the list is
  // closed. The provider's errors.
  HRESULT Advise(const ComPtr<ProviderEntry>& owner, ULONG size, ENTRYID* entry, ULONG event_mask,
                 IMAPIAdviseSink* sink, ULONG* connection) noexcept;

  // Withdraws a connection, whatever its provider answers. MAPI_E_NOT_FOUND: no such connection. Logarithmic.
  HRESULT Unadvise(ULONG connection) noexcept;

  // Withdraws every connection, the newest first. None is made from then on.
  void Close() noexcept;

 private:
  struct Connection {
    Provided<IAddrBook> provider;
    ULONG number = 0;  // the provider's own
  };
  using Connections = std::map<ULONG, Connection>;

  AdviseList() noexcept = default;
  Connections::node_type TakeNewest() noexcept;
  static void Withdraw(const Connection& connection) noexcept;

  Connections connections_ UAB_GUARDED_BY(section_);
  ULONG next_ UAB_GUARDED_BY(section_) = 1;
  bool closed_ UAB_GUARDED_BY(section_) = false;
};

}  // namespace uab
