// IMAPIProp and its kin: reading and writing the properties of an object.
//
// Common to every interface of this library: slots are numbered from 1, QueryInterface first. A pointer obtained from
// an operation carries a reference that the caller releases. QueryInterface stores null before it refuses
// (E_INVALIDARG: null out pointer; E_NOINTERFACE: not one of the object's interfaces). Any thread may call, unless an
// operation says otherwise. No operation lets an exception out; a failed allocation is E_OUTOFMEMORY.
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

  // 5. Makes changes permanent. flags: KEEP_OPEN_READWRITE.
  virtual HRESULT UAB_CALL SaveChanges(ULONG flags) = 0;

  // 6. Stores a count and a value array, which the caller frees with UABFreeBuffer: one value for each tag in order, or
  // every property when tags is null. A profile section matches tags by identifier and answers with the stored type; a
  // missing property is a PT_ERROR value holding MAPI_E_NOT_FOUND, and the result MAPI_W_ERRORS_RETURNED.
  // MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE. E_INVALIDARG: a tag array without tags, a null out pointer.
  // On an error the out parameters are not written.
  virtual HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) = 0;

  // 7. Stores the tags of all properties; the caller frees them with UABFreeBuffer. MAPI_E_BAD_CHARWIDTH as in
  // GetProps.
  virtual HRESULT UAB_CALL GetPropList(ULONG flags, SPropTagArray** tags) = 0;

  // 8. Opens a property of type PT_OBJECT as an interface, such as a container's hierarchy table.
  virtual HRESULT UAB_CALL OpenProperty(ULONG tag, const IID* iid, ULONG interface_options, ULONG flags,
                                        IUnknown** object) = 0;

  // 9. Stores copies of the values, which stay the caller's. A value that is refused is a problem
  // (E_ACCESSDENIED: PT_OBJECT; MAPI_E_COMPUTED: an identifier that callers may not write), the result still S_OK.
  // problems may be null; otherwise it receives null or an array that the caller frees with UABFreeBuffer.
  virtual HRESULT UAB_CALL SetProps(ULONG count, SPropValue* values, SPropProblemArray** problems) = 0;

  // 10. Removes properties, by identifier. A missing one is a problem (MAPI_E_NOT_FOUND), the result still S_OK.
  virtual HRESULT UAB_CALL DeleteProps(SPropTagArray* tags, SPropProblemArray** problems) = 0;

  // 11. Copies all properties but the excluded ones to another object, which iid names. ui and progress take no part.
  virtual HRESULT UAB_CALL CopyTo(ULONG excluded_count, const IID* excluded_iids, SPropTagArray* excluded_tags,
                                  ULONG_PTR ui, IMAPIProgress* progress, const IID* iid, void* destination, ULONG flags,
                                  SPropProblemArray** problems) = 0;

  // 12. Copies the listed properties to another object, which iid names.
  virtual HRESULT UAB_CALL CopyProps(SPropTagArray* tags, ULONG_PTR ui, IMAPIProgress* progress, const IID* iid,
                                     void* destination, ULONG flags, SPropProblemArray** problems) = 0;

  // 13., 14. Named properties: this library's objects answer MAPI_E_NO_SUPPORT.
  virtual HRESULT UAB_CALL GetNamesFromIDs(SPropTagArray** tags, GUID* set, ULONG flags, ULONG* count,
                                           MAPINAMEID*** names) = 0;
  virtual HRESULT UAB_CALL GetIDsFromNames(ULONG count, MAPINAMEID** names, ULONG flags, SPropTagArray** tags) = 0;
};

// The settings of one message service, as its library and its provider see them. A snapshot: SetProps and DeleteProps
// change the section only; SaveChanges writes its whole set back to the service, in the registry too (removed
// properties stay there).
struct IProfSect : IMAPIProp {};

struct IMailUser : IMAPIProp {};

}  // namespace uab
