// What an address book provider and a message service library export, and what the library offers them.
//
// One library serves both: it lies in the folder of KELUAB itself, its file name is the service's
// PR_SERVICE_DLL_NAME_W, and it exports "ABProviderOpen" and the name that PR_SERVICE_ENTRY_NAME gives.
#pragma once

#include "keluab/addrbook.h"
#include "keluab/base.h"
#include "keluab/exports.h"
#include "keluab/props.h"
#include "keluab/values.h"

namespace uab {

// Slots 1 to 10: what a provider or a service library may ask of KELUAB.
struct IUABSupport : IUnknown {
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;  // 4. S_OK, writes nothing

  // 5. Stores the allocation routines. E_INVALIDARG: an out pointer null; none of the three is written.
  virtual HRESULT UAB_CALL GetMemAllocRoutines(UABAllocateBufferFunction* allocate_buffer,
                                               UABAllocateMoreFunction* allocate_more,
                                               UABFreeBufferFunction* free_buffer) = 0;

  // 6. Registers a MAPIUID whose entry identifiers belong to this provider: bytes 4 to 19 of each. Best done while
  // ABProviderOpen runs. flags are not looked at. MAPI_E_NO_SUPPORT: the object was made for a service entry.
  // E_INVALIDARG: null, or the session has ended. MAPI_E_COLLISION: this provider has registered it already; of two
  // providers with the same one, the first with an object in the session's order is called. E_OUTOFMEMORY.
  virtual HRESULT UAB_CALL SetProviderUID(MAPIUID* uid, ULONG flags) = 0;

  virtual HRESULT UAB_CALL Reserved7() = 0;  // 7. MAPI_E_NO_SUPPORT

  // 8. Copies all properties but the excluded ones from one object to another, and with PR_CONTAINER_CONTENTS among
  // them the members of a list or container too, made anew from the destination's creation templates. Binary,
  // multi-valued binary, object and error values never travel: no PR_ENTRYID, no PR_SEARCH_KEY. Members that fail end
  // their own list and are not reported: the result is still S_OK, and part of the members is missing. Entries made
  // before a failure stay.
  //
  // Interfaces are named by their identifiers: IMAPIProp, IProfSect, IMailUser, IDistList, IABContainer; IMAPIContainer
  // as a source only, and without contents. flags: MAPI_UNICODE, MAPI_NOREPLACE (for the two objects, not for members).
  // ui, progress and the excluded interfaces take no part. Property lists, those of lists among the members too, are
  // asked for with the caller's MAPI_UNICODE and no other bit. problems may be null; otherwise it receives null or the
  // destination's, which the caller frees with UABFreeBuffer, also after a failure.
  //
  // E_INVALIDARG: a null interface or object. E_NOINTERFACE: another interface. MAPI_E_NOT_FOUND: an object without
  // PR_ENTRYID, such as a profile section, which has a CopyTo of its own. E_ACCESSDENIED: both are the same entry.
  // MAPI_E_NO_SUPPORT: the destination is an IMAPIContainer, or contents are wanted of a source that is neither
  // IDistList nor IABContainer. E_FAIL: with MAPI_NOREPLACE, the destination gives another number of values than the
  // source. Errors of the two objects' slots, PR_CREATE_TEMPLATES of the destination included. No lock is held.
  virtual HRESULT UAB_CALL DoCopyTo(const IID* source_iid, void* source, ULONG excluded_count, const IID* excluded_iids,
                                    SPropTagArray* excluded_tags, ULONG_PTR ui, IMAPIProgress* progress,
                                    const IID* destination_iid, void* destination, ULONG flags,
                                    SPropProblemArray** problems) = 0;

  // 9. The same for the listed properties only. PR_CONTAINER_HIERARCHY copies no containers. E_INVALIDARG also: tags
  // null.
  virtual HRESULT UAB_CALL DoCopyProps(const IID* source_iid, void* source, SPropTagArray* tags, ULONG_PTR ui,
                                       IMAPIProgress* progress, const IID* destination_iid, void* destination,
                                       ULONG flags, SPropProblemArray** problems) = 0;

  virtual HRESULT UAB_CALL Reserved10() = 0;  // 10. MAPI_E_NO_SUPPORT
};

// "ABProviderOpen", called once for each service at logon, on the thread of UABOpen.
//   app_key, resources, caller_param, flags    as given to UABOpen
//   support, section    this provider's own; released right after the call: a provider that keeps one adds a reference,
//                       and releases it when its own object goes
//   allocate_buffer, allocate_more, free_buffer    for everything that the provider hands out
//   provider            receives an object with the slots of IAddrBook, one reference for the library. Used: Release,
//                       GetProps (a top-level container's PR_DISPLAY_NAME_W, PR_ENTRYID, PR_OBJECT_TYPE,
//                       PR_CONTAINER_FLAGS and PR_DEPTH), OpenEntry, Advise, Unadvise, NewEntry, Details,
//                       PrepareRecips.
//   host_value          the first host_param that was not 0
// A failure is the result of UABOpen; what was left in provider is then neither looked at nor released: release it
// yourself, or leave null. Success without an object is accepted: identifiers that only this service registered are
// E_ACCESSDENIED. Of a row that a provider hands out the library uses no more columns than it asked for, and of a row
// set no more rows than the set's block has room for.
using ABProviderOpenFunction = HRESULT(UAB_CALL*)(WCHAR* app_key, HINSTANCE resources, IUABSupport* support,
                                                  IMAPIProp* section, ULONG_PTR caller_param, ULONG flags,
                                                  UABAllocateBufferFunction allocate_buffer,
                                                  UABAllocateMoreFunction allocate_more,
                                                  UABFreeBufferFunction free_buffer, IAddrBook** provider,
                                                  ULONG_PTR host_value);

// The entry that PR_SERVICE_ENTRY_NAME names, called when a service is created or configured. The library is loaded for
// the call and unloaded after it: nothing of it may keep running, and it keeps neither section nor support.
//   resources   the host's module
//   ui          parent window for a dialog; may be 0
//   flags       the caller's flags, MAPI_UNICODE included
//   context     MSG_SERVICE_CREATE, MSG_SERVICE_CONFIGURE, or MSG_SERVICE_CREATE_TEXT with one value of tag 0 whose
//               lpszW is the creation text
//   count, values    the caller's values; may be none; they stay the caller's
//   section     the service's settings; SaveChanges keeps what SetProps changed
//   support     GetMemAllocRoutines, DoCopyTo and DoCopyProps work
//   host_value  the first host_param that was not 0
// Its result is that of the operation; a service whose creation fails is removed again. Called from CreateMsgService it
// runs under the lock of the service administration: it must not wait for another thread that uses that.
using UABServiceEntryFunction = HRESULT(UAB_CALL*)(HINSTANCE resources, ULONG_PTR ui, ULONG flags, ULONG context,
                                                   ULONG count, SPropValue* values, IMAPIProp* section,
                                                   IUABSupport* support, ULONG_PTR host_value);

}  // namespace uab
