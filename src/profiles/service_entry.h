// Calls into the libraries of message services, which lie in the folder of this one. A library is loaded for one call
// and unloaded right after it.
#pragma once

#include "keluab/provider.h"

namespace uab {

struct ServiceCall {
  HINSTANCE resources;
  ULONG_PTR ui;
  ULONG flags;
  ULONG context;  // MSG_SERVICE_...
  ULONG count;    // of values
  SPropValue* values;
};

// Calls the entry point that the section names (PR_SERVICE_DLL_NAME_W, PR_SERVICE_ENTRY_NAME) and answers what it
// answers. MAPI_E_INVALID_OBJECT: the section does not name both. MAPI_E_NOT_FOUND: the library can't be loaded, or
// this library's own folder is not known. E_FAIL: no such entry point, or it throws. E_OUTOFMEMORY.
HRESULT CallServiceEntry(IMAPIProp& section, const ServiceCall& call) noexcept;

}  // namespace uab
