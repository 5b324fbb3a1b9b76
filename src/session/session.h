// The session that UABOpen returns: owns the address book, the providers and the service administration of its profile.
// Any thread may call; expanding distribution lists holds the session's lock.
#pragma once

#include "frame/com_object.h"
#include "keluab/iids.h"
#include "keluab/session.h"

namespace uab {

class AddrBook;
class MsgServiceAdmin;
class ProviderList;

class UABSession final : public ComObject<UABSession, IUABSession, &IID_IUABSession> {
 public:
  // Stores a session over loaded providers, with its address book. On a failure nothing is stored, and providers is
  // empty. E_OUTOFMEMORY, or the address book's.
  static HRESULT Create(ComPtr<ProviderList> providers, ComPtr<MsgServiceAdmin> admin,
                        ComPtr<UABSession>& session) noexcept;

  // Saves the settings and unloads the providers.
  ~UABSession();

  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return S_OK; }
  HRESULT UAB_CALL AllocateBuffer(ULONG size, void** buffer) noexcept override;
  HRESULT UAB_CALL AllocateMore(ULONG size, void* head, void** buffer) noexcept override;
  HRESULT UAB_CALL FreeBuffer(void* buffer) noexcept override;
  void UAB_CALL FreeProws(SRowSet* rows) noexcept override;
  void UAB_CALL FreePadrlist(ADRLIST* list) noexcept override;
  HRESULT UAB_CALL OpenAddressBook(ULONG flags, IAddrBook** address_book) noexcept override;
  HRESULT UAB_CALL ExpandDistLists(ULONG flags, ADRLIST** list) noexcept override;
  HRESULT UAB_CALL QueryIdentity(ULONG* size, ENTRYID** entry) noexcept override;
  HRESULT UAB_CALL AdminServices(ULONG flags, IMsgServiceAdmin** admin) noexcept override;

 private:
  UABSession(ComPtr<ProviderList> providers, ComPtr<MsgServiceAdmin> admin) noexcept;

  // Null before set-up, and from the moment on when the take-down reaches them.
  ComPtr<AddrBook> address_book_;
  ComPtr<ProviderList> providers_;
  ComPtr<MsgServiceAdmin> admin_;
};

}  // namespace uab
