// Loads the providers of a profile: the library of each of its message services, all or none. One thread, before the
// session is handed out.
#pragma once

#include "keluab/admin.h"
#include "platform/win32.h"

namespace uab {

class ProviderList;

// What UABOpen was given for every provider. Borrowed.
struct LogonArguments {
  WCHAR* app_key;
  HINSTANCE resources;
  ULONG_PTR caller_param;
  ULONG flags;
};

// Pushes one entry on the list for each service that admin's table names, in the table's order, so that the last one is
// the first of the list. Providers lie in this library's folder. A provider that answers without an object keeps its
// place: identifiers that only it registered are refused.
//
// On a failure the list is empty, what was loaded is unloaded, and the result is E_INVALIDARG: admin or list null;
// MAPI_E_INVALID_OBJECT: a row lacks the service's identifier, library or entry name; MAPI_E_NOT_FOUND: a library can't
// be loaded; E_FAIL: it lacks an entry point, or it threw; E_OUTOFMEMORY; whatever the table, the profile section or
// ABProviderOpen answers.
HRESULT LoadProviders(IMsgServiceAdmin* admin, ProviderList* list, const LogonArguments& arguments) noexcept;

}  // namespace uab
