#include "addrbook/root_container.h"

#include "addrbook/addr_book.h"
#include "addrbook/entry_deletion.h"
#include "addrbook/hierarchy.h"
#include "platform/at_boundary.h"

namespace uab {

RootContainer::RootContainer(ComPtr<AddrBook> address_book, ComPtr<ProviderList> providers) noexcept
    : address_book_(std::move(address_book)), providers_(std::move(providers)) {}

RootContainer::~RootContainer() = default;

HRESULT RootContainer::Create(ComPtr<AddrBook> address_book, ComPtr<ProviderList> providers,
                              ComPtr<RootContainer>& container) noexcept {
  return at_boundary([&]() -> HRESULT {
    container = ComPtr<RootContainer>::Attach(new RootContainer(std::move(address_book), std::move(providers)));
    return S_OK;
  });
}

HRESULT RootContainer::OpenProperty(ULONG tag, const IID* iid, ULONG, ULONG flags, IUnknown** object) noexcept {
  if (object != nullptr) *object = nullptr;
  if (iid == nullptr) return E_INVALIDARG;
  if (tag != PR_CONTAINER_HIERARCHY || !(*iid == IID_IMAPITable)) return E_NOINTERFACE;
  if (object == nullptr) return E_INVALIDARG;
  IMAPITable* table = nullptr;
  HRESULT hr = GetHierarchyTable(flags | MAPI_UNICODE, &table);
  *object = table;
  return hr;
}

HRESULT RootContainer::GetContentsTable(ULONG, IMAPITable** table) noexcept {
  if (table == nullptr) return E_INVALIDARG;
  *table = nullptr;
  return MAPI_E_NO_SUPPORT;
}

HRESULT RootContainer::GetHierarchyTable(ULONG flags, IMAPITable** table) noexcept {
  if (table == nullptr) return E_INVALIDARG;
  *table = nullptr;
  return WhileKept([&] {
    ComPtr<MemTable> built;
    HRESULT hr = BuildHierarchy(*providers_, flags, built);
    *table = built.Detach();
    return hr;
  });
}

HRESULT RootContainer::OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* object_type,
                                 IUnknown** object) noexcept {
  if (object_type == nullptr || object == nullptr) return E_INVALIDARG;
  return WhileKept([&] { return address_book_->OpenEntry(size, entry, iid, flags, object_type, object); });
}

HRESULT RootContainer::CreateEntry(ULONG size, ENTRYID* entry, ULONG, IMAPIProp**) noexcept {
  return size == 0 || entry == nullptr ? E_INVALIDARG : MAPI_E_NO_SUPPORT;
}

HRESULT RootContainer::CopyEntries(ENTRYLIST* entries, ULONG_PTR, IMAPIProgress*, ULONG) noexcept {
  if (entries == nullptr) return E_INVALIDARG;
  return entries->cValues == 0 ? S_OK : MAPI_E_NO_SUPPORT;
}

HRESULT RootContainer::DeleteEntries(ENTRYLIST* entries, ULONG) noexcept {
  if (entries == nullptr) return E_INVALIDARG;
  if (entries->cValues == 0) return S_OK;
  if (entries->lpbin == nullptr) return E_INVALIDARG;
  return WhileKept([&] {
    LockedScope scope(section_);
    return DeleteEntriesByProvider(*providers_, *entries);
  });
}

HRESULT RootContainer::ResolveNames(SPropTagArray*, ULONG, ADRLIST* names, FLAGLIST*) noexcept {
  return names == nullptr ? E_INVALIDARG : MAPI_E_NO_SUPPORT;
}

}  // namespace uab
