// The seven exported functions of KELUAB.dll / KELUAB.so, with pointer types for loading them at run time.
//
// Memory that crosses the boundary is an allocation chain: a head block and any number of further blocks linked to it,
// freed together through the head. Each block is one allocation of size + 25 bytes:
//
//   offset  width  field
//        0      4  signature, 0x7B
//        4      4  size, the bytes asked for
//        8      8  previous block of the chain; null in a head
//       16      8  next block of the chain; null at the end
//       24   size  data, zeroed; what a caller sees points here, aligned to 8 bytes
//   24+size     1  guard, 0x7D
//
// Different chains may be used from different threads at once, one chain from one thread at a time.
#pragma once

#include "keluab/addrbook.h"
#include "keluab/admin.h"
#include "keluab/base.h"
#include "keluab/session.h"
#include "keluab/values.h"

#if defined(KELUAB_BUILD)
#if defined(_WIN32)
#define UAB_EXPORT  // exported by the definition file, undecorated
#else
#define UAB_EXPORT __attribute__((visibility("default")))
#endif
#else
#define UAB_EXPORT UAB_IMPORT
#endif

extern "C" {

// Logs on to a profile: loads its providers and makes a session, all or nothing.
//   app_key        names the profiles: "Software\Ostrel\QUILLDOC\<app_key>\UAB Profiles" of the current user. Kept by
//                  pointer in every object made from it: it must outlive them. It and the profile's name together
//                  have room for 89 characters.
//   resources      the host's module: handed, unread, to every provider, and by AdminServices of the session to every
//                  service library
//   caller_param   handed, unread, to every provider, and to nobody else
//   profile_name   which profile; may be null or empty with UAB_DEFAULT_PROFILE
//   flags          MAPI_UNICODE, UAB_DEFAULT_PROFILE, UAB_LOGON_UNKNOWN_FLAGS; all handed to every provider
//   reserved1..3   null
//   address_book   null, or receives the session's address book
//   session        receives the session; the caller releases both
//   host_param     the host value, handed, unread, to every provider and service library. The first one that is not 0
//                  stays for the life of the library in the process. Taken before anything is checked.
//
// Errors, in this order: E_INVALIDARG: session null. MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE.
// MAPI_E_NO_SUPPORT: a reserved parameter not null. E_INVALIDARG: app_key null, empty or too long. MAPI_E_LOGON_FAILED
// (or MAPI_E_UNKNOWN_FLAGS, see the flags): no such profile. For the services in their order: MAPI_E_INVALID_OBJECT:
// one is stored without an identifier of 16 bytes, a library or an entry point. MAPI_E_NOT_FOUND: its library can't be
// loaded, or it was removed meanwhile. E_FAIL: its library lacks one of the two entry points. Whatever its provider
// answers. At any time E_OUTOFMEMORY, and E_FAIL: a registry call failed. On failure neither out parameter is written.
//
// Providers run on the caller's thread with no lock held. Waits at most ten seconds for the lock of all processes, then
// reads without it.
UAB_EXPORT uab::HRESULT UAB_CALL UABOpen(uab::WCHAR* app_key, uab::HINSTANCE resources, uab::ULONG_PTR caller_param,
                                         uab::WCHAR* profile_name, uab::ULONG flags, void* reserved1, void* reserved2,
                                         void* reserved3, uab::IAddrBook** address_book, uab::IUABSession** session,
                                         uab::ULONG_PTR host_param);

// Makes the profile administration object; the caller releases it. app_key and host_param as above, but a key that is
// null, empty or too long is accepted: the object's operations then answer E_INVALIDARG. resources is the module with
// the template of the message service dialog, and is handed to every service library.
//
// Errors, in this order: E_INVALIDARG: admin null. MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE. E_OUTOFMEMORY. On
// failure admin is not written.
UAB_EXPORT uab::HRESULT UAB_CALL UABAdminProfiles(uab::WCHAR* app_key, uab::HINSTANCE resources, uab::ULONG flags,
                                                  uab::IProfAdmin** admin, uab::ULONG_PTR host_param);

// Stores a new head block of size bytes, zeroed. E_OUTOFMEMORY: null is stored; also for sizes above 0xFFFFFFE6.
// E_INVALIDARG: buffer null.
UAB_EXPORT uab::HRESULT UAB_CALL UABAllocateBuffer(uab::ULONG size, void** buffer);

// Stores a new block of size bytes, zeroed, that is freed with the head block it is linked to. Constant time.
// E_INVALIDARG: head is null or no head block, or buffer is null. E_OUTOFMEMORY as above. Null is stored on failure.
UAB_EXPORT uab::HRESULT UAB_CALL UABAllocateMore(uab::ULONG size, void* head, void** buffer);

// Frees a head block and all that is linked to it. E_INVALIDARG: null, or no head block; nothing is freed.
UAB_EXPORT uab::HRESULT UAB_CALL UABFreeBuffer(void* buffer);

// Frees a row set with the value arrays of its rows. Null: nothing happens.
UAB_EXPORT void UAB_CALL UABFreeProws(uab::SRowSet* rows);

// Frees an address list with the value arrays of its entries. Null: nothing happens.
UAB_EXPORT void UAB_CALL UABFreePadrlist(uab::ADRLIST* list);

}  // extern "C"

namespace uab {

using UABOpenFunction = decltype(&::UABOpen);
using UABAdminProfilesFunction = decltype(&::UABAdminProfiles);
using UABAllocateBufferFunction = decltype(&::UABAllocateBuffer);
using UABAllocateMoreFunction = decltype(&::UABAllocateMore);
using UABFreeBufferFunction = decltype(&::UABFreeBuffer);
using UABFreeProwsFunction = decltype(&::UABFreeProws);
using UABFreePadrlistFunction = decltype(&::UABFreePadrlist);

}  // namespace uab
