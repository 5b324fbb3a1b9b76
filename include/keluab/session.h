// The session that UABOpen returns.
#pragma once

#include "keluab/addrbook.h"
#include "keluab/admin.h"
#include "keluab/base.h"
#include "keluab/values.h"

namespace uab {

// Slots 1 to 13. Owns the address book, the providers and the service administration of its profile. Release the
// address book and whatever was opened through it before the session's last reference: with that the settings are
// written to the profile and the providers' libraries are unloaded. What is still held then answers
// MAPI_E_END_OF_SESSION.
struct IUABSession : IUnknown {
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;  // 4. S_OK, writes nothing

  // 5. to 9. The allocation chain: the same as the exported functions.
  virtual HRESULT UAB_CALL AllocateBuffer(ULONG size, void** buffer) = 0;
  virtual HRESULT UAB_CALL AllocateMore(ULONG size, void* head, void** buffer) = 0;
  virtual HRESULT UAB_CALL FreeBuffer(void* buffer) = 0;
  virtual void UAB_CALL FreeProws(SRowSet* rows) = 0;
  virtual void UAB_CALL FreePadrlist(ADRLIST* list) = 0;

  // 10. Stores the address book. E_INVALIDARG: null. MAPI_E_UNKNOWN_FLAGS: flags not 0.
  virtual HRESULT UAB_CALL OpenAddressBook(ULONG flags, IAddrBook** address_book) = 0;

  // 11. Replaces every distribution list in *list by its members, lists in lists too, each identifier once. *list may
  // become another list, or null. Every entry needs PR_OBJECT_TYPE and PR_ENTRYID, lists PR_RECIPIENT_TYPE as well,
  // which their members take over (MAPI_E_MISSING_REQUIRED_COLUMN). After a failure *list holds what was gathered
  // before it. E_INVALIDARG: list or *list null, or no entries. MAPI_E_UNKNOWN_FLAGS: flags not 0. Holds the session's
  // lock: a provider must not wait for another thread that uses the session.
  virtual HRESULT UAB_CALL ExpandDistLists(ULONG flags, ADRLIST** list) = 0;

  // 12. Stores the 20-byte identity identifier, which the caller frees with UABFreeBuffer. E_INVALIDARG: null.
  virtual HRESULT UAB_CALL QueryIdentity(ULONG* size, ENTRYID** entry) = 0;

  // 13. Stores the profile's service administration. Errors as in OpenAddressBook.
  virtual HRESULT UAB_CALL AdminServices(ULONG flags, IMsgServiceAdmin** admin) = 0;
};

}  // namespace uab
