// The root of the address book: no entries and no properties of its own, but the merged hierarchy of all providers. It
// keeps the address book and the provider list, so it may outlive the session; it is then empty. Any thread may call;
// DeleteEntries runs alone, with the container locked while the providers delete.
#pragma once

#include "frame/com_object.h"
#include "keluab/addrbook.h"
#include "keluab/iids.h"
#include "session/provider_list.h"

namespace uab {

class AddrBook;

class RootContainer final
    : public ComObject<RootContainer, IABContainer, &IID_IMAPIProp, &IID_IMAPIContainer, &IID_IABContainer> {
 public:
  // E_OUTOFMEMORY.
  static HRESULT Create(ComPtr<AddrBook> address_book, ComPtr<ProviderList> providers,
                        ComPtr<RootContainer>& container) noexcept;
  ~RootContainer();

  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SaveChanges(ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetProps(SPropTagArray*, ULONG, ULONG*, SPropValue**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetPropList(ULONG, SPropTagArray**) noexcept override { return MAPI_E_NO_SUPPORT; }
  // PR_CONTAINER_HIERARCHY as IMAPITable, and nothing else: E_NOINTERFACE.
  HRESULT UAB_CALL OpenProperty(ULONG tag, const IID* iid, ULONG interface_options, ULONG flags,
                                IUnknown** object) noexcept override;
  HRESULT UAB_CALL SetProps(ULONG, SPropValue*, SPropProblemArray**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL DeleteProps(SPropTagArray*, SPropProblemArray**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CopyTo(ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                          SPropProblemArray**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL CopyProps(SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                             SPropProblemArray**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetNamesFromIDs(SPropTagArray**, GUID*, ULONG, ULONG*, MAPINAMEID***) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetIDsFromNames(ULONG, MAPINAMEID**, ULONG, SPropTagArray**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetContentsTable(ULONG flags, IMAPITable** table) noexcept override;
  HRESULT UAB_CALL GetHierarchyTable(ULONG flags, IMAPITable** table) noexcept override;
  // As the address book's OpenEntry, but no out pointer may be null.
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* object_type,
                             IUnknown** object) noexcept override;
  HRESULT UAB_CALL SetSearchCriteria(SRestriction*, ENTRYLIST*, ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetSearchCriteria(ULONG, SRestriction**, ENTRYLIST**, ULONG*) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL CreateEntry(ULONG size, ENTRYID* entry, ULONG flags, IMAPIProp** object) noexcept override;
  HRESULT UAB_CALL CopyEntries(ENTRYLIST* entries, ULONG_PTR ui, IMAPIProgress* progress,
                               ULONG flags) noexcept override;
  HRESULT UAB_CALL DeleteEntries(ENTRYLIST* entries, ULONG flags) noexcept override;
  HRESULT UAB_CALL ResolveNames(SPropTagArray* tags, ULONG flags, ADRLIST* names, FLAGLIST* found) noexcept override;

 private:
  RootContainer(ComPtr<AddrBook> address_book, ComPtr<ProviderList> providers) noexcept;

  const ComPtr<AddrBook> address_book_;
  const ComPtr<ProviderList> providers_;
};

}  // namespace uab
