// The session that UABOpen returns.
#pragma once

#include "keluab/addrbook.h"
#include "keluab/admin.h"
#include "keluab/base.h"
#include "keluab/values.h"

namespace uab {

// Slots 1 to 13. Owns the address book, the providers and the service administration of its profile. Release the
// address book and whatever was opened through it before the session's last reference: with that the settings are
// written to the profile, watchers are withdrawn and the providers' libraries are unloaded, each as soon as the calls
// into it are over. A provider's entry or table is code that is gone then. The library's own objects stay, and answer:
//
// - the address book: MAPI_E_END_OF_SESSION. But GetSearchPath still gives the path, SetPAB and SetDefaultDir are
//   E_FAIL, SetSearchPath is E_INVALIDARG, CompareEntryIDs and the refused slots are what they are in a session;
// - a root container: OpenEntry MAPI_E_END_OF_SESSION, but QueryInterface and DeleteEntries are S_OK, and its hierarchy
//   is S_OK and empty;
// - tables, profile sections and the service administration: as before; a support object's SetProviderUID E_INVALIDARG.
//
// Slots 10 to 13 don't write their out pointers on failure.
struct IUABSession : IUnknown {
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;  // 4. S_OK, writes nothing

  // 5. to 9. The allocation chain: the same as the exported functions.
  virtual HRESULT UAB_CALL AllocateBuffer(ULONG size, void** buffer) = 0;
  virtual HRESULT UAB_CALL AllocateMore(ULONG size, void* head, void** buffer) = 0;
  virtual HRESULT UAB_CALL FreeBuffer(void* buffer) = 0;
  virtual void UAB_CALL FreeProws(SRowSet* rows) = 0;
  virtual void UAB_CALL FreePadrlist(ADRLIST* list) = 0;

  // 10. Stores the address book: one for the whole session. MAPI_E_UNKNOWN_FLAGS: flags not 0. E_ACCESSDENIED: there is
  // none any more, which only a provider can see that calls while the session ends.
  virtual HRESULT UAB_CALL OpenAddressBook(ULONG flags, IAddrBook** address_book) = 0;

  // 11. Replaces every distribution list in *list by its members, lists in lists too, each identifier once. *list may
  // become another list, or null. The list and its arrays must be the library's memory: those of lists, of entries that
  // were there already, and after a failure of whatever was not gathered, are freed with UABFreeBuffer, so keep no
  // pointer into them. Every entry needs PR_OBJECT_TYPE and PR_ENTRYID, lists PR_RECIPIENT_TYPE as well, which their
  // members take over. A member has five columns: PR_ENTRYID, PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_W, PR_ADDRTYPE_W,
  // PR_OBJECT_TYPE. After a failure *list holds what was gathered before it, or is null for want of memory.
  //
  // E_INVALIDARG: list or *list null, or no entries. MAPI_E_UNKNOWN_FLAGS: flags not 0. E_ACCESSDENIED as in
  // OpenAddressBook. In these cases *list is as it was. MAPI_E_MISSING_REQUIRED_COLUMN: a value that is needed is not
  // there. MAPI_E_INVALID_OBJECT: what a list's identifier opens says that it is neither list nor container. E_FAIL: a
  // provider answered success and gave no object. E_OUTOFMEMORY. Errors of the address book's OpenEntry and of the
  // providers' tables. Holds the session's lock: a provider must not wait for another thread that uses the session.
  virtual HRESULT UAB_CALL ExpandDistLists(ULONG flags, ADRLIST** list) = 0;

  // 12. Stores the 20-byte identity identifier, which the caller frees with UABFreeBuffer. It names no entry.
  virtual HRESULT UAB_CALL QueryIdentity(ULONG* size, ENTRYID** entry) = 0;

  // 13. Stores the profile's service administration, the same one each time. Errors as in OpenAddressBook.
  virtual HRESULT UAB_CALL AdminServices(ULONG flags, IMsgServiceAdmin** admin) = 0;
};

}  // namespace uab
