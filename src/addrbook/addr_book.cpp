#include "addrbook/addr_book.h"

#include "addrbook/default_container.h"
#include "addrbook/recipient_groups.h"
#include "addrbook/root_container.h"
#include "addrbook/search_path.h"
#include "platform/at_boundary.h"
#include "session/entry_id.h"

namespace uab {

HRESULT AddrBook::Create(const ComPtr<ProviderList>& providers, const WCHAR* app_key, const WCHAR* profile_name,
                         ComPtr<AddrBook>& address_book) noexcept {
  return at_boundary([&]() -> HRESULT {
    if (!providers) return E_INVALIDARG;
    auto made = ComPtr<AddrBook>::Attach(new AddrBook);
    if (HRESULT hr = made->settings_.Load(app_key, profile_name); Failed(hr)) return hr;
    ComPtr<AdviseList> connections;
    if (HRESULT hr = AdviseList::Create(connections); Failed(hr)) return hr;
    {
      LockedScope scope(made->section_);
      made->connections_ = std::move(connections);
      made->providers_ = providers;
    }
    (void)EstablishSearchPath(*made, made->settings_);  // an address book without a search path is still one
    address_book = std::move(made);
    return S_OK;
  });
}

AddrBook::~AddrBook() { Detach(); }

void AddrBook::Detach() noexcept {
  ComPtr<ProviderList> providers;
  ComPtr<AdviseList> connections;
  {
    LockedScope scope(section_);
    std::swap(providers, providers_);
    std::swap(connections, connections_);
  }
  if (!providers) return;
  settings_.Save();
  connections->Close();
}

ComPtr<ProviderList> AddrBook::providers() noexcept {
  LockedScope scope(section_);
  return providers_;
}

bool AddrBook::attached() noexcept {
  LockedScope scope(section_);
  return static_cast<bool>(providers_);
}

HRESULT AddrBook::Route(ULONG size, const ENTRYID* entry, Identity identity, ComPtr<ProviderEntry>& owner) noexcept {
  ComPtr<ProviderList> list = providers();
  if (!list) return MAPI_E_END_OF_SESSION;
  if (!IsRoutable(size, entry)) return MAPI_E_INVALID_ENTRYID;
  if (identity == Identity::kRefused && IsIdentity(size, entry)) return MAPI_E_INVALID_ENTRYID;
  return list->FindByUid(UidOf(entry), owner);
}

HRESULT AddrBook::QueryInterface(const IID& iid, void** object) noexcept {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  return attached() ? ComObject::QueryInterface(iid, object) : MAPI_E_END_OF_SESSION;
}

HRESULT AddrBook::OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* object_type,
                            IUnknown** object) noexcept {
  if (object != nullptr) *object = nullptr;
  if (entry == nullptr) return OpenRoot(object_type, object);
  ComPtr<ProviderEntry> owner;
  if (HRESULT hr = Route(size, entry, Identity::kRefused, owner); Failed(hr)) return hr;
  return CallKept([&] { return owner->provider->OpenEntry(size, entry, iid, flags, object_type, object); });
}

HRESULT AddrBook::OpenRoot(ULONG* object_type, IUnknown** object) noexcept {
  ComPtr<ProviderList> list = providers();
  if (!list) return MAPI_E_END_OF_SESSION;
  if (object_type == nullptr || object == nullptr) return E_INVALIDARG;
  ComPtr<RootContainer> container;
  if (HRESULT hr = RootContainer::Create(ComPtr(this), std::move(list), container); Failed(hr)) return hr;
  *object_type = MAPI_ABCONT;
  *object = container.Detach();
  return S_OK;
}

HRESULT AddrBook::Advise(ULONG size, ENTRYID* entry, ULONG event_mask, IMAPIAdviseSink* sink,
                         ULONG* connection) noexcept {
  if (connection == nullptr) return E_INVALIDARG;
  *connection = 0;
  ComPtr<AdviseList> connections;
  {
    LockedScope scope(section_);
    connections = connections_;
  }
  if (!connections) return MAPI_E_END_OF_SESSION;
  if (size == 0 || entry == nullptr) return E_INVALIDARG;
  ComPtr<ProviderEntry> owner;
  if (HRESULT hr = Route(size, entry, Identity::kRouted, owner); Failed(hr)) return hr;
  return WhileKept([&] { return connections->Advise(owner, size, entry, event_mask, sink, connection); });
}

HRESULT AddrBook::Unadvise(ULONG connection) noexcept {
  ComPtr<AdviseList> connections;
  {
    LockedScope scope(section_);
    connections = connections_;
  }
  if (!connections) return MAPI_E_END_OF_SESSION;
  return WhileKept([&] { return connections->Unadvise(connection); });
}

HRESULT AddrBook::NewEntry(ULONG_PTR ui, ULONG flags, ULONG container_size, ENTRYID* container, ULONG template_size,
                           ENTRYID* entry_template, ULONG* size, ENTRYID** entry) noexcept {
  if (size != nullptr) *size = 0;
  if (entry != nullptr) *entry = nullptr;
  if (!attached()) return MAPI_E_END_OF_SESSION;
  ComPtr<ProviderEntry> owner;
  HRESULT hr;
  if (container_size != 0 && container != nullptr) {
    hr = Route(container_size, container, Identity::kRouted, owner);
  } else if (template_size != 0 && entry_template != nullptr) {
    hr = Route(template_size, entry_template, Identity::kRouted, owner);
  } else {
    hr = container == nullptr && entry_template == nullptr ? MAPI_E_NO_SUPPORT : E_INVALIDARG;
  }
  if (Failed(hr)) return hr;
  return CallKept([&] {
    return owner->provider->NewEntry(ui, flags, container_size, container, template_size, entry_template, size, entry);
  });
}

HRESULT AddrBook::Details(ULONG_PTR* ui, DismissModelessFunction dismiss, void* dismiss_context, ULONG size,
                          ENTRYID* entry, DetailsButtonFunction button, void* button_context, WCHAR* button_text,
                          ULONG flags) noexcept {
  if (!attached()) return MAPI_E_END_OF_SESSION;
  if (ui == nullptr) return E_INVALIDARG;
  ComPtr<ProviderEntry> owner;
  if (HRESULT hr = Route(size, entry, Identity::kRefused, owner); Failed(hr)) return hr;
  return CallKept([&] {
    return owner->provider->Details(ui, dismiss, dismiss_context, size, entry, button, button_context, button_text,
                                    flags);
  });
}

HRESULT AddrBook::GetPAB(ULONG* size, ENTRYID** entry) noexcept {
  return WhileKept([&] { return GetDefaultContainer(*this, settings_, kPersonalAddressBook, size, entry); });
}

HRESULT AddrBook::SetPAB(ULONG size, ENTRYID* entry) noexcept {
  return WhileKept([&] { return SetDefaultContainer(*this, settings_, kPersonalAddressBook, size, entry); });
}

HRESULT AddrBook::GetDefaultDir(ULONG* size, ENTRYID** entry) noexcept {
  return WhileKept([&] { return GetDefaultContainer(*this, settings_, kDefaultDirectory, size, entry); });
}

HRESULT AddrBook::SetDefaultDir(ULONG size, ENTRYID* entry) noexcept {
  return WhileKept([&] { return SetDefaultContainer(*this, settings_, kDefaultDirectory, size, entry); });
}

HRESULT AddrBook::GetSearchPath(ULONG, SRowSet** path) noexcept { return uab::GetSearchPath(settings_, path); }

HRESULT AddrBook::SetSearchPath(ULONG, SRowSet* path) noexcept {
  return WhileKept([&] { return uab::SetSearchPath(*this, settings_, path); });
}

HRESULT AddrBook::PrepareRecips(ULONG flags, SPropTagArray* tags, ADRLIST* list) noexcept {
  if (!attached()) return MAPI_E_END_OF_SESSION;
  if (flags != 0 || list == nullptr) return E_INVALIDARG;
  return WhileKept([&] { return PrepareRecipients(*this, tags, *list); });
}

}  // namespace uab
