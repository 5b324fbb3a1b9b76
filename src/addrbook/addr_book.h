// The address book of a session. It has no entries of its own: identifiers are routed to the provider that registered
// their MAPIUID, recipients are grouped by provider, and the merged hierarchy stands behind the null identifier. It
// also keeps the profile's search path, personal address book and default directory, and the callers' notifications.
//
// Any thread may call; providers are called on the caller's thread with no lock held. A provider's object and library
// stay until a call into it is over, even if the session ends meanwhile.
#pragma once

#include "addrbook/advise_list.h"
#include "addrbook/settings.h"
#include "frame/com_object.h"
#include "keluab/addrbook.h"
#include "keluab/iids.h"
#include "session/provider_list.h"

namespace uab {

class AddrBook final : public ComObject<AddrBook, IAddrBook, &IID_IMAPIProp, &IID_IAddrBook> {
 public:
  // Stores an address book over the providers, with the profile's settings and a search path in force. app_key is
  // borrowed, profile_name copied. E_INVALIDARG: no provider list. E_FAIL: no profile name, or its key can't be opened
  // or read. E_OUTOFMEMORY.
  static HRESULT Create(const ComPtr<ProviderList>& providers, const WCHAR* app_key, const WCHAR* profile_name,
                        ComPtr<AddrBook>& address_book) noexcept;
  ~AddrBook();  // as Detach

  // The session ends: saves changed settings, withdraws every provider's connection and drops the provider list. From
  // then on routed operations answer MAPI_E_END_OF_SESSION. Once; further calls do nothing.
  void Detach() noexcept;

  // The provider list while the session lasts; afterwards null.
  ComPtr<ProviderList> providers() noexcept;
  bool attached() noexcept;

  // IAddrBook -------------------------------------------------------------------------------------------------------

  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) noexcept override;
  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return S_OK; }
  HRESULT UAB_CALL SaveChanges(ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetProps(SPropTagArray*, ULONG, ULONG*, SPropValue**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetPropList(ULONG, SPropTagArray**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
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
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* object_type,
                             IUnknown** object) noexcept override;
  HRESULT UAB_CALL CompareEntryIDs(ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG, ULONG*) noexcept override {
    return MAPI_E_UNKNOWN_ENTRYID;
  }
  HRESULT UAB_CALL Advise(ULONG size, ENTRYID* entry, ULONG event_mask, IMAPIAdviseSink* sink,
                          ULONG* connection) noexcept override;
  HRESULT UAB_CALL Unadvise(ULONG connection) noexcept override;
  HRESULT UAB_CALL CreateOneOff(WCHAR*, WCHAR*, WCHAR*, ULONG, ULONG*, ENTRYID**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL NewEntry(ULONG_PTR ui, ULONG flags, ULONG container_size, ENTRYID* container, ULONG template_size,
                            ENTRYID* entry_template, ULONG* size, ENTRYID** entry) noexcept override;
  HRESULT UAB_CALL ResolveName(ULONG_PTR, ULONG, WCHAR*, ADRLIST*) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Address(ULONG_PTR*, ADRPARM*, ADRLIST**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Details(ULONG_PTR* ui, DismissModelessFunction dismiss, void* dismiss_context, ULONG size,
                           ENTRYID* entry, DetailsButtonFunction button, void* button_context, WCHAR* button_text,
                           ULONG flags) noexcept override;
  HRESULT UAB_CALL RecipOptions(ULONG_PTR, ULONG, ADRENTRY*) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL QueryDefaultRecipOpt(WCHAR*, ULONG, ULONG*, SPropValue**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetPAB(ULONG* size, ENTRYID** entry) noexcept override;
  HRESULT UAB_CALL SetPAB(ULONG size, ENTRYID* entry) noexcept override;
  HRESULT UAB_CALL GetDefaultDir(ULONG* size, ENTRYID** entry) noexcept override;
  HRESULT UAB_CALL SetDefaultDir(ULONG size, ENTRYID* entry) noexcept override;
  HRESULT UAB_CALL GetSearchPath(ULONG flags, SRowSet** path) noexcept override;
  HRESULT UAB_CALL SetSearchPath(ULONG flags, SRowSet* path) noexcept override;
  HRESULT UAB_CALL PrepareRecips(ULONG flags, SPropTagArray* tags, ADRLIST* list) noexcept override;

 private:
  AddrBook() noexcept = default;
  HRESULT OpenRoot(ULONG* object_type, IUnknown** object) noexcept;
  enum class Identity { kRefused, kRouted };  // the session's own identifier
  HRESULT Route(ULONG size, const ENTRYID* entry, Identity identity, ComPtr<ProviderEntry>& owner) noexcept;

  Settings settings_;
  ComPtr<ProviderList> providers_ UAB_GUARDED_BY(section_);  // null: not attached
  ComPtr<AdviseList> connections_ UAB_GUARDED_BY(section_);  // null when providers_ is
};

}  // namespace uab
