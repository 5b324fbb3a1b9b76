#include "session/session.h"

#include <cstring>
#include <new>

#include "addrbook/addr_book.h"
#include "frame/allocation_chain.h"
#include "profiles/msg_service_admin.h"
#include "session/dist_list_expansion.h"
#include "session/provider_list.h"

namespace uab {

HRESULT UABSession::Create(ComPtr<ProviderList> providers, ComPtr<MsgServiceAdmin> admin,
                           ComPtr<UABSession>& session) noexcept {
  auto* made = new (std::nothrow) UABSession(providers, admin);
  if (made == nullptr) {
    providers->FreeEntries();
    return E_OUTOFMEMORY;
  }
  auto built = ComPtr<UABSession>::Attach(made);  // from here on its destructor unloads the providers
  HRESULT hr = AddrBook::Create(providers, admin->app_key(), admin->profile_name(), built->address_book_);
  if (Failed(hr)) return hr;
  session = std::move(built);
  return S_OK;
}

UABSession::UABSession(ComPtr<ProviderList> providers, ComPtr<MsgServiceAdmin> admin) noexcept
    : providers_(std::move(providers)), admin_(std::move(admin)) {}

UABSession::~UABSession() {
  AddRef();  // providers may call us once more while they go: a reference taken and given back must not end us twice
  if (address_book_) address_book_->Detach();
  address_book_.Reset();
  providers_->FreeEntries();  // support objects may keep the list, never the providers
  providers_.Reset();
  admin_.Reset();
}

HRESULT UABSession::AllocateBuffer(ULONG size, void** buffer) noexcept { return UABAllocateBuffer(size, buffer); }

HRESULT UABSession::AllocateMore(ULONG size, void* head, void** buffer) noexcept {
  return UABAllocateMore(size, head, buffer);
}

HRESULT UABSession::FreeBuffer(void* buffer) noexcept { return UABFreeBuffer(buffer); }
void UABSession::FreeProws(SRowSet* rows) noexcept { UABFreeProws(rows); }
void UABSession::FreePadrlist(ADRLIST* list) noexcept { UABFreePadrlist(list); }

HRESULT UABSession::OpenAddressBook(ULONG flags, IAddrBook** address_book) noexcept {
  if (address_book == nullptr) return E_INVALIDARG;
  if (flags != 0) return MAPI_E_UNKNOWN_FLAGS;
  LockedScope scope(section_);
  if (!address_book_) return E_ACCESSDENIED;
  *address_book = address_book_.Copy();
  return S_OK;
}

HRESULT UABSession::ExpandDistLists(ULONG flags, ADRLIST** list) noexcept {
  if (list == nullptr || *list == nullptr || (*list)->cEntries == 0) return E_INVALIDARG;
  if (flags != 0) return MAPI_E_UNKNOWN_FLAGS;
  return WhileKept([&]() -> HRESULT {
    LockedScope scope(section_);
    if (!address_book_) return E_ACCESSDENIED;
    return ReplaceDistLists(*providers_, *list);
  });
}

HRESULT UABSession::QueryIdentity(ULONG* size, ENTRYID** entry) noexcept {
  if (size == nullptr || entry == nullptr) return E_INVALIDARG;
  constexpr ULONG kSize = sizeof(ENTRYID::abFlags) + sizeof(MAPIUID);
  ChainPtr<ENTRYID> identity;
  if (HRESULT hr = AllocateInto(identity, kSize); Failed(hr)) return hr;  // zeroed: the flags
  std::memcpy(reinterpret_cast<BYTE*>(identity.Get()) + sizeof(ENTRYID::abFlags), &IdentityUID, sizeof(MAPIUID));
  *size = kSize;
  *entry = identity.Detach();
  return S_OK;
}

HRESULT UABSession::AdminServices(ULONG flags, IMsgServiceAdmin** admin) noexcept {
  if (admin == nullptr) return E_INVALIDARG;
  if (flags != 0) return MAPI_E_UNKNOWN_FLAGS;
  LockedScope scope(section_);
  if (!admin_) return E_ACCESSDENIED;
  *admin = admin_.Copy();
  return S_OK;
}

}  // namespace uab
