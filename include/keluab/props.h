// IMAPIProp and its kin: reading and writing the properties of an object.
//
// Common to every interface of this library; an operation says where it differs:
//
// - Slots are numbered from 1, QueryInterface first. It stores null before it refuses. E_INVALIDARG: the out pointer or
//   the identifier null. E_NOINTERFACE: not one of the object's interfaces.
// - A pointer obtained from an operation carries a reference that the caller releases. Other memory is freed by the
//   routine that the operation names.
// - A null out pointer is E_INVALIDARG. A failure stores null, or 0 for a number, in the out pointers. Those that leave
//   them as they were say "not written". A slot that is refused with MAPI_E_NO_SUPPORT may leave them too.
// - A failed allocation is E_OUTOFMEMORY. No operation lets an exception out: one that other people's code throws is
//   E_OUTOFMEMORY for std::bad_alloc, and otherwise E_FAIL.
// - Any thread may call. An object has one lock; AddRef and Release take it as well, so they wait while an operation
//   holds it. Other people's code is called with no lock held.
#pragma once

#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/values.h"

namespace uab {

struct MAPIERROR;      // never written by this library
struct MAPINAMEID;     // never written by this library
struct IMAPIProgress;  // handed through, never called by this library

// Slots 1 to 14. Providers' entries and containers, profile sections and the address book have this shape.
struct IMAPIProp : IUnknown {
  // 4. This library's objects answer S_OK or MAPI_E_NO_SUPPORT and write nothing.
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;

  // 5. Makes changes permanent. flags: KEEP_OPEN_READWRITE. A profile section's errors: see IProfSect.
  virtual HRESULT UAB_CALL SaveChanges(ULONG flags) = 0;

  // 6. Stores a count and a value array, which the caller frees with UABFreeBuffer: one value for each tag in order, or
  // every property when tags is null; an object without any stores 0 and null. A profile section matches tags by
  // identifier and answers with the stored type; PR_NULL among the tags is a placeholder of that tag. A missing
  // property is a PT_ERROR value holding MAPI_E_NOT_FOUND, and the result MAPI_W_ERRORS_RETURNED. Not written on an
  // error. MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE, tested first. E_INVALIDARG: a tag array without tags.
  virtual HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) = 0;

  // 7. Stores the tags of all properties, an array without tags where there are none; the caller frees it with
  // UABFreeBuffer. MAPI_E_BAD_CHARWIDTH as in GetProps.
  virtual HRESULT UAB_CALL GetPropList(ULONG flags, SPropTagArray** tags) = 0;

  // 8. Opens a property of type PT_OBJECT as an interface, such as a container's hierarchy table. A profile section has
  // none: MAPI_E_NO_SUPPORT.
  virtual HRESULT UAB_CALL OpenProperty(ULONG tag, const IID* iid, ULONG interface_options, ULONG flags,
                                        IUnknown** object) = 0;

  // 9. Stores copies of the values, which stay the caller's. One replaces the property of the same identifier, whatever
  // its type. PR_NULL and PT_ERROR values are passed over; no values at all is S_OK. E_INVALIDARG: values null with a
  // count. E_OUTOFMEMORY: no room for the problems; nothing is set.
  //
  // A value that is refused is a problem, the result still S_OK. E_ACCESSDENIED: PT_OBJECT. MAPI_E_COMPUTED: an
  // identifier that callers may not write. MAPI_E_NO_SUPPORT: a multi-valued type that is none. E_INVALIDARG: elements
  // counted without an array. E_OUTOFMEMORY. problems may be null; otherwise it receives null or an array that the
  // caller frees with UABFreeBuffer.
  virtual HRESULT UAB_CALL SetProps(ULONG count, SPropValue* values, SPropProblemArray** problems) = 0;

  // 10. Removes properties, by identifier. A missing one is a problem (MAPI_E_NOT_FOUND), the result still S_OK.
  // E_INVALIDARG: tags null. E_OUTOFMEMORY: no room for the problems; nothing is removed.
  virtual HRESULT UAB_CALL DeleteProps(SPropTagArray* tags, SPropProblemArray** problems) = 0;

  // 11. Copies all properties but the excluded ones to another object: destination, an IUnknown, as the interface that
  // iid names. Binary, multi-valued binary, object and error values never travel. flags: MAPI_UNICODE, MAPI_NOREPLACE.
  // ui, progress and the excluded interfaces take no part. problems, which may be null, receives null or those of the
  // destination's SetProps; the caller frees them with UABFreeBuffer.
  //
  // A profile section's errors, besides those of the two objects' slots: E_INVALIDARG: iid or destination null, or
  // nothing is left to copy. MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE. E_NOINTERFACE: iid neither IMAPIProp nor
  // IProfSect, or the destination has no IMAPIProp. E_FAIL: with MAPI_NOREPLACE, the destination gives another number
  // of values than the section. A provider's entries may pass the call on to IUABSupport (see DoCopyTo).
  virtual HRESULT UAB_CALL CopyTo(ULONG excluded_count, const IID* excluded_iids, SPropTagArray* excluded_tags,
                                  ULONG_PTR ui, IMAPIProgress* progress, const IID* iid, void* destination, ULONG flags,
                                  SPropProblemArray** problems) = 0;

  // 12. The same for the listed properties only, by tag. E_INVALIDARG also: tags null. Needs no MAPI_UNICODE.
  virtual HRESULT UAB_CALL CopyProps(SPropTagArray* tags, ULONG_PTR ui, IMAPIProgress* progress, const IID* iid,
                                     void* destination, ULONG flags, SPropProblemArray** problems) = 0;

  // 13., 14. Named properties: this library's objects answer MAPI_E_NO_SUPPORT.
  virtual HRESULT UAB_CALL GetNamesFromIDs(SPropTagArray** tags, GUID* set, ULONG flags, ULONG* count,
                                           MAPINAMEID*** names) = 0;
  virtual HRESULT UAB_CALL GetIDsFromNames(ULONG count, MAPINAMEID** names, ULONG flags, SPropTagArray** tags) = 0;
};

// The settings of one message service, as its library and its provider see them. A snapshot: SetProps and DeleteProps
// change the section only; SaveChanges writes its whole set back to the service, in the registry too (removed
// properties stay there). After a failure the section keeps its properties and the service is what it was.
//
// SaveChanges: MAPI_E_NOT_FOUND: the service is gone, or the section has no property. E_INVALIDARG: a value of
// PR_SERVICE_UID's identifier that is not the service's own 16 bytes. MAPI_E_STRING_TOO_LONG: one of more than 32
// bytes. E_FAIL: the profile is gone, a registry call failed, or the lock of all processes was not had in ten seconds.
// The section's lock is held while it writes.
struct IProfSect : IMAPIProp {};

struct IMailUser : IMAPIProp {};

}  // namespace uab
