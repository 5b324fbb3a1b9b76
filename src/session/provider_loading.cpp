#include "session/provider_loading.h"

#include <cstring>

#include "frame/allocation_chain.h"
#include "frame/module.h"
#include "platform/at_boundary.h"
#include "platform/module_path.h"
#include "platform/system_calls.h"
#include "props/prop_values.h"
#include "session/provider_list.h"

namespace uab {
namespace {

// What a row says of a service; checked, and borrowed from the row.
struct Service {
  MAPIUID uid;
  const WCHAR* library_name;
  const char* entry_name;
};

HRESULT ReadService(const SRow& row, Service& service) noexcept {
  if (row.lpProps == nullptr) return MAPI_E_INVALID_OBJECT;
  const SPropValue* uid = FindProp(row.lpProps, row.cValues, PR_SERVICE_UID);
  const SPropValue* library = FindProp(row.lpProps, row.cValues, PR_SERVICE_DLL_NAME_W);
  const SPropValue* entry = FindProp(row.lpProps, row.cValues, PR_SERVICE_ENTRY_NAME);
  if (uid == nullptr || library == nullptr || entry == nullptr) return MAPI_E_INVALID_OBJECT;
  if (BytesOf(uid->Value.bin).size() != sizeof(MAPIUID)) return MAPI_E_INVALID_OBJECT;
  if (library->Value.lpszW == nullptr || entry->Value.lpszA == nullptr) return MAPI_E_INVALID_OBJECT;
  std::memcpy(&service.uid, uid->Value.bin.lpb, sizeof(MAPIUID));
  service.library_name = library->Value.lpszW;
  service.entry_name = entry->Value.lpszA;
  return S_OK;
}

template <typename Routine>
bool FindRoutine(const UniqueLibrary& library, const char* name, Routine& routine) noexcept {
  routine = reinterpret_cast<Routine>(Sys().get_proc_address(library.Get(), name));
  return routine != nullptr;
}

// The service routine is only looked for: it has to be there, but nobody calls it during a session.
HRESULT LoadProviderLibrary(const Service& service, ProviderEntry& entry) noexcept {
  PathBuffer path;
  if (!PathBesideModule(ModuleInstance(), service.library_name, path)) return MAPI_E_NOT_FOUND;
  entry.library = UniqueLibrary(Sys().load_library(path));
  if (!entry.library) return MAPI_E_NOT_FOUND;
  if (!FindRoutine(entry.library, "ABProviderOpen", entry.open_routine)) return E_FAIL;
  if (!FindRoutine(entry.library, service.entry_name, entry.service_routine)) return E_FAIL;
  entry.service_uid = service.uid;
  return S_OK;
}

// What the provider registers belongs to the entry. What a failing one stores is not looked at: it may have released
// the object itself.
HRESULT OpenProvider(IMsgServiceAdmin& admin, ProviderEntry& entry, const LogonArguments& arguments) noexcept {
  ComPtr<ProviderSupport> support;
  if (HRESULT hr = entry.MakeSupport(support); Failed(hr)) return hr;
  ComPtr<IMAPIProp> section;
  if (HRESULT hr = admin.OpenProfileSection(&entry.service_uid, nullptr, MAPI_MODIFY, section.Put()); Failed(hr)) {
    return hr;
  }
  IAddrBook* provider = nullptr;
  HRESULT hr = call_out([&] {
    return entry.open_routine(arguments.app_key, arguments.resources, support.Get(), section.Get(),
                              arguments.caller_param, arguments.flags | MAPI_UNICODE, &UABAllocateBuffer,
                              &UABAllocateMore, &UABFreeBuffer, &provider, HostValue());
  });
  if (Succeeded(hr)) entry.provider = ComPtr<IAddrBook>::Attach(provider);
  return hr;
}

HRESULT LoadProvider(IMsgServiceAdmin& admin, ProviderList& list, const SRow& row,
                     const LogonArguments& arguments) noexcept {
  Service service;
  if (HRESULT hr = ReadService(row, service); Failed(hr)) return hr;
  ComPtr<ProviderEntry> entry;
  if (HRESULT hr = ProviderEntry::Create(list, entry); Failed(hr)) return hr;
  if (HRESULT hr = LoadProviderLibrary(service, *entry); Failed(hr)) return hr;
  if (HRESULT hr = OpenProvider(admin, *entry, arguments); Failed(hr)) return hr;
  return list.PushFront(std::move(entry));
}

HRESULT LoadEach(IMsgServiceAdmin& admin, ProviderList& list, const LogonArguments& arguments) noexcept {
  static constexpr TagArray<3> kColumns = {3, {PR_SERVICE_UID, PR_SERVICE_DLL_NAME_W, PR_SERVICE_ENTRY_NAME}};
  ComPtr<IMAPITable> services;
  if (HRESULT hr = admin.GetMsgServiceTable(MAPI_UNICODE, services.Put()); Failed(hr)) return hr;
  if (HRESULT hr = services->SetColumns(kColumns.address(), 0); Failed(hr)) return hr;
  for (;;) {
    RowSetPtr rows;
    if (HRESULT hr = services->QueryRows(1, 0, rows.Put()); Failed(hr)) return hr;
    if (rows->cRows == 0) return S_OK;
    if (HRESULT hr = LoadProvider(admin, list, rows->aRow[0], arguments); Failed(hr)) return hr;
  }
}

}  // namespace

HRESULT LoadProviders(IMsgServiceAdmin* admin, ProviderList* list, const LogonArguments& arguments) noexcept {
  if (admin == nullptr || list == nullptr) return E_INVALIDARG;
  HRESULT hr = LoadEach(*admin, *list, arguments);
  if (Failed(hr)) list->FreeEntries();
  return hr;
}

}  // namespace uab
