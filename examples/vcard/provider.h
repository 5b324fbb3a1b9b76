// The two exports of the provider library, and making the provider object.
#pragma once

#include "values.h"

#if defined(__GNUC__) && !defined(__MINGW32__)
#define VCARD_EXPORT __attribute__((visibility("default")))
#else
#define VCARD_EXPORT  // the definition file exports them
#endif

namespace uab::vcard {

// Registers the service's MAPIUID and stores the provider object with one reference for the caller.
HRESULT OpenProvider(IUABSupport* support, IMAPIProp* section, const Memory& memory, IAddrBook** provider);

}  // namespace uab::vcard

extern "C" {
VCARD_EXPORT uab::HRESULT UAB_CALL ABProviderOpen(uab::WCHAR* app_key, uab::HINSTANCE resources,
                                                  uab::IUABSupport* support, uab::IMAPIProp* section,
                                                  uab::ULONG_PTR caller_param, uab::ULONG flags,
                                                  uab::UABAllocateBufferFunction allocate,
                                                  uab::UABAllocateMoreFunction allocate_more,
                                                  uab::UABFreeBufferFunction free_buffer, uab::IAddrBook** provider,
                                                  uab::ULONG_PTR host_value);
VCARD_EXPORT uab::HRESULT UAB_CALL VCardServiceEntry(uab::HINSTANCE resources, uab::ULONG_PTR ui, uab::ULONG flags,
                                                     uab::ULONG context, uab::ULONG count, uab::SPropValue* values,
                                                     uab::IMAPIProp* section, uab::IUABSupport* support,
                                                     uab::ULONG_PTR host_value);
}
