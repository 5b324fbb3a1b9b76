#include "addrbook/advise_list.h"

#include <iterator>

#include "platform/at_boundary.h"

namespace uab {

HRESULT AdviseList::Create(ComPtr<AdviseList>& list) noexcept {
  return at_boundary([&]() -> HRESULT {
    list = ComPtr<AdviseList>::Attach(new AdviseList);
    return S_OK;
  });
}

AdviseList::~AdviseList() { Close(); }

HRESULT AdviseList::Advise(const ComPtr<ProviderEntry>& owner, ULONG size, ENTRYID* entry, ULONG event_mask,
                           IMAPIAdviseSink* sink, ULONG* connection) noexcept {
  return at_boundary([&]() -> HRESULT {
    // The record comes first: once the provider has agreed, nothing of ours can fail for want of memory.
    Connections made;
    made.emplace(0, Connection{});
    Connections::node_type node = made.extract(made.begin());

    // Providers may take the number for pointer-sized.
    alignas(ULONG_PTR) ULONG room[sizeof(ULONG_PTR) / sizeof(ULONG)] = {};
    HRESULT hr = call_out([&] { return owner->provider->Advise(size, entry, event_mask, sink, room); });
    if (Failed(hr)) return hr;
    node.mapped().number = room[0];
    (void)node.mapped().provider.Obtain(owner, [&](IAddrBook** provider) -> HRESULT {
      *provider = owner->provider.Copy();
      return S_OK;
    });
    {
      LockedScope scope(section_);
      if (!closed_) {
        node.key() = next_++;
        *connection = node.key();
        connections_.insert(std::move(node));
        return S_OK;
      }
    }
    Withdraw(node.mapped());
    return MAPI_E_END_OF_SESSION;
  });
}

HRESULT AdviseList::Unadvise(ULONG connection) noexcept {
  Connections::node_type node;
  {
    LockedScope scope(section_);
    node = connections_.extract(connection);
  }
  if (node.empty()) return MAPI_E_NOT_FOUND;
  Withdraw(node.mapped());
  return S_OK;
}

void AdviseList::Close() noexcept {
  {
    LockedScope scope(section_);
    closed_ = true;
  }
  for (Connections::node_type node = TakeNewest(); !node.empty(); node = TakeNewest()) Withdraw(node.mapped());
}

AdviseList::Connections::node_type AdviseList::TakeNewest() noexcept {
  LockedScope scope(section_);
  return connections_.empty() ? Connections::node_type() : connections_.extract(std::prev(connections_.end()));
}

void AdviseList::Withdraw(const Connection& connection) noexcept {
  // The connection is gone in any case.
  (void)call_out([&] { return connection.provider->Unadvise(connection.number); });
}

}  // namespace uab
