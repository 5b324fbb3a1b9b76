// Containers, distribution lists and the address book.
#pragma once

#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/props.h"
#include "keluab/tables.h"
#include "keluab/values.h"

namespace uab {

struct FLAGLIST;      // ResolveNames: never read by this library
struct ADRPARM;       // Address: never read by this library
struct NOTIFICATION;  // what a provider tells a sink: keluab/notification.h; never read by this library

// A caller's watcher: slots 1 to 4. Providers call it, on a thread of their choice; this library only hands it through.
struct IMAPIAdviseSink : IUnknown {
  virtual ULONG UAB_CALL OnNotify(ULONG count, NOTIFICATION* notifications) = 0;  // 4.
};

// Slots 1 to 19. Containers and lists are the providers'; errors are theirs too. The library's own is the root
// container, see below.
struct IMAPIContainer : IMAPIProp {
  // 15. The members as a table; the caller releases it.
  virtual HRESULT UAB_CALL GetContentsTable(ULONG flags, IMAPITable** table) = 0;

  // 16. The containers below as a table; CONVENIENT_DEPTH asks for all levels.
  virtual HRESULT UAB_CALL GetHierarchyTable(ULONG flags, IMAPITable** table) = 0;

  // 17. Opens an entry by its identifier of size bytes and stores its PR_OBJECT_TYPE value and the object.
  virtual HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* object_type,
                                     IUnknown** object) = 0;

  virtual HRESULT UAB_CALL SetSearchCriteria(SRestriction* restriction, ENTRYLIST* containers, ULONG flags) = 0;  // 18.
  virtual HRESULT UAB_CALL GetSearchCriteria(ULONG flags, SRestriction** restriction, ENTRYLIST** containers,
                                             ULONG* state) = 0;  // 19.
};

// Slots 1 to 23: the shape of IABContainer and IDistList.
struct IABContainer : IMAPIContainer {
  // 20. Makes a new entry from one of the container's templates; it lasts from its first SaveChanges on.
  virtual HRESULT UAB_CALL CreateEntry(ULONG size, ENTRYID* entry, ULONG flags, IMAPIProp** object) = 0;

  // 21. Links existing entries into the container. flags 1: an entry that is there already is not added again.
  virtual HRESULT UAB_CALL CopyEntries(ENTRYLIST* entries, ULONG_PTR ui, IMAPIProgress* progress, ULONG flags) = 0;

  virtual HRESULT UAB_CALL DeleteEntries(ENTRYLIST* entries, ULONG flags) = 0;                                   // 22.
  virtual HRESULT UAB_CALL ResolveNames(SPropTagArray* tags, ULONG flags, ADRLIST* names, FLAGLIST* found) = 0;  // 23.
};

struct IDistList : IABContainer {};

// Routines that a host may hand to Details; called by the provider on the thread of its dialog.
using DismissModelessFunction = void(UAB_CALL*)(ULONG_PTR ui, void* context);
using DetailsButtonFunction = LONG(UAB_CALL*)(ULONG_PTR ui, void* context, ULONG size, ENTRYID* selection, ULONG flags);

// The root container, which IAddrBook::OpenEntry opens under the null identifier: an IABContainer with the merged
// hierarchy of all providers. It has these slots; the others answer MAPI_E_NO_SUPPORT.
//
//   GetHierarchyTable  A new table: for each provider, in the session's order, what its GetProps gives of
//                      PR_DISPLAY_NAME_W, PR_ENTRYID, PR_OBJECT_TYPE, PR_CONTAINER_FLAGS and PR_DEPTH; with
//                      CONVENIENT_DEPTH the containers below it too, one deeper. GetProps is asked with the caller's
//                      MAPI_UNICODE: without it, it gets flags that it may refuse. The result is that of the provider
//                      asked last: MAPI_W_ERRORS_RETURNED comes with a table, an error without. A provider before it
//                      that fails is left out. MAPI_E_FOLDER_CYCLE: it is asked for inside four others on one thread.
//   OpenProperty       PR_CONTAINER_HIERARCHY as IMAPITable: the same, with MAPI_UNICODE. Tested first: E_INVALIDARG: a
//                      null interface. E_NOINTERFACE: any other tag or interface.
//   OpenEntry          As the address book's, but no out pointer may be null.
//   DeleteEntries      Hands each provider its entries, in the opposite order, through its top-level container. S_OK,
//                      whatever they answer; entries of no provider are passed over. The container's lock is held.
//                      E_INVALIDARG: entries null, or counted without an array.
//   CreateEntry        E_INVALIDARG: no identifier; otherwise refused. So are ResolveNames (E_INVALIDARG: names null)
//                      and CopyEntries (E_INVALIDARG: entries null; S_OK: none).

// Slots 1 to 32. The address book of a session, and the shape of the object that a provider's ABProviderOpen returns.
//
// An identifier is routed by its bytes 4 to 19, the MAPIUID, to the provider that registered it, and the call is
// forwarded with the caller's arguments unchanged, out pointers that may be null included. Common errors of OpenEntry,
// Advise, NewEntry and Details, besides the provider's: MAPI_E_END_OF_SESSION: the session is gone.
// MAPI_E_INVALID_ENTRYID: fewer than 20 bytes; from OpenEntry and Details also the session's identity identifier.
// MAPI_E_NOT_FOUND: no provider registered the MAPIUID. E_ACCESSDENIED: only services without a provider object did.
//
// Providers are called on the caller's thread with no lock held, so a session may end meanwhile: a provider's library
// stays until the call is over. Slot 4 is S_OK and writes nothing; QueryInterface tests the end of the session after
// the null out pointer, and answers MAPI_E_END_OF_SESSION then.
struct IAddrBook : IMAPIProp {
  // 5. to 14. are refused with MAPI_E_NO_SUPPORT by the address book.

  // 15. With a null identifier: a new root container, object type MAPI_ABCONT (E_INVALIDARG: a null out pointer).
  // Otherwise the owning provider's OpenEntry: object is null unless the provider stores one, object_type is its
  // affair. The library itself takes a type of 0 for one that was not said.
  virtual HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* object_type,
                                     IUnknown** object) = 0;

  // 16. The address book answers MAPI_E_UNKNOWN_ENTRYID.
  virtual HRESULT UAB_CALL CompareEntryIDs(ULONG size1, ENTRYID* entry1, ULONG size2, ENTRYID* entry2, ULONG flags,
                                           ULONG* result) = 0;

  // 17. Watches an entry through its provider. Stores a connection number (1, 2, 3, never reused) or 0 on failure.
  // E_INVALIDARG: connection null, tested first; size 0 or a null identifier. sink is not looked at.
  // A provider built for 64 bits may write its own number as 8 bytes: the library gives it that room.
  virtual HRESULT UAB_CALL Advise(ULONG size, ENTRYID* entry, ULONG event_mask, IMAPIAdviseSink* sink,
                                  ULONG* connection) = 0;

  // 18. Ends a connection, whatever the provider answers. MAPI_E_NOT_FOUND: no such connection.
  // MAPI_E_END_OF_SESSION: all have ended.
  virtual HRESULT UAB_CALL Unadvise(ULONG connection) = 0;

  virtual HRESULT UAB_CALL CreateOneOff(WCHAR* name, WCHAR* address_type, WCHAR* address, ULONG flags, ULONG* size,
                                        ENTRYID** entry) = 0;  // 19. MAPI_E_NO_SUPPORT

  // 20. Routed by the container's identifier, else by the template's. MAPI_E_NO_SUPPORT: both null.
  // E_INVALIDARG: neither usable. 0 and null are stored before the provider is asked, for it to overwrite; the caller
  // frees what it stores with UABFreeBuffer.
  virtual HRESULT UAB_CALL NewEntry(ULONG_PTR ui, ULONG flags, ULONG container_size, ENTRYID* container,
                                    ULONG template_size, ENTRYID* entry_template, ULONG* size, ENTRYID** entry) = 0;

  virtual HRESULT UAB_CALL ResolveName(ULONG_PTR ui, ULONG flags, WCHAR* title,
                                       ADRLIST* names) = 0;                                  // 21. MAPI_E_NO_SUPPORT
  virtual HRESULT UAB_CALL Address(ULONG_PTR* ui, ADRPARM* parameters, ADRLIST** list) = 0;  // 22. MAPI_E_NO_SUPPORT

  // 23. The provider shows an entry. E_INVALIDARG: ui null.
  virtual HRESULT UAB_CALL Details(ULONG_PTR* ui, DismissModelessFunction dismiss, void* dismiss_context, ULONG size,
                                   ENTRYID* entry, DetailsButtonFunction button, void* button_context,
                                   WCHAR* button_text, ULONG flags) = 0;

  virtual HRESULT UAB_CALL RecipOptions(ULONG_PTR ui, ULONG flags, ADRENTRY* recipient) = 0;  // 24. MAPI_E_NO_SUPPORT
  virtual HRESULT UAB_CALL QueryDefaultRecipOpt(WCHAR* address_type, ULONG flags, ULONG* count,
                                                SPropValue** options) = 0;  // 25. MAPI_E_NO_SUPPORT

  // 26. to 29. The personal address book (a container with AB_MODIFIABLE) and the default directory (with
  // AB_RECIPIENTS). Get stores the identifier, which the caller frees with UABFreeBuffer: the one that was set if it
  // still qualifies, or the first container of the hierarchy that does. That default is kept for the session only, and
  // never in place of what is set meanwhile. What Set stores is in force at once and is written to the profile when the
  // session ends, not before. Whether a container qualifies its provider is asked each time.
  // E_FAIL from Get: no container qualifies; from Set: the identifier is null, empty or does not qualify, or the
  // session has ended. Get also answers the errors of the root container's hierarchy, and MAPI_E_END_OF_SESSION.
  virtual HRESULT UAB_CALL GetPAB(ULONG* size, ENTRYID** entry) = 0;
  virtual HRESULT UAB_CALL SetPAB(ULONG size, ENTRYID* entry) = 0;
  virtual HRESULT UAB_CALL GetDefaultDir(ULONG* size, ENTRYID** entry) = 0;
  virtual HRESULT UAB_CALL SetDefaultDir(ULONG size, ENTRYID* entry) = 0;

  // 30. Stores one row with one PR_ENTRYID value for each container of the search path; the caller frees the set with
  // UABFreeProws. Without one that was set: the containers of the hierarchy with AB_RECIPIENTS, as they were when the
  // session began. flags are not looked at. MAPI_E_NOT_FOUND: the path is empty.
  virtual HRESULT UAB_CALL GetSearchPath(ULONG flags, SRowSet** path) = 0;

  // 31. Keeps the rows whose first value is a PR_ENTRYID of a container with AB_RECIPIENTS, as copies; written to the
  // profile when the session ends. flags are not looked at. E_INVALIDARG: path null, or no such row; the path stays.
  virtual HRESULT UAB_CALL SetSearchPath(ULONG flags, SRowSet* path) = 0;

  // 32. Groups the recipients by provider, in the order of the session's providers, those of no provider last, and has
  // each provider complete its own with the properties of tags (may be null). The list comes back in that order. An
  // identifier that is too short or that nobody registered is no error: such a recipient gets what it has itself, and
  // PT_ERROR for the tags that it lacks. Every provider is asked, also with an empty list. Value arrays may be
  // replaced, so they must be the library's memory; the list stays the caller's. The first failure of a provider is the
  // result: those behind it are not asked, and every recipient is in its old place, some completed.
  // MAPI_E_END_OF_SESSION: the session is gone, or went meanwhile. E_INVALIDARG: list null or flags not 0.
  //
  // Of a provider: the list is made for the call, with its recipients in the caller's order. It may replace their
  // arrays, but not change the count. Entries beyond a lowered count come back with a null array and count 0, so their
  // arrays must be freed by whoever lowers it; a raised count is not believed.
  virtual HRESULT UAB_CALL PrepareRecips(ULONG flags, SPropTagArray* tags, ADRLIST* list) = 0;
};

}  // namespace uab
