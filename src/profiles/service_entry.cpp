#include "profiles/service_entry.h"

#include <bit>

#include "frame/allocation_chain.h"
#include "frame/module.h"
#include "keluab/tags.h"
#include "platform/at_boundary.h"
#include "platform/module_path.h"
#include "platform/system_calls.h"
#include "profiles/provider_support.h"

namespace uab {

HRESULT CallServiceEntry(IMAPIProp& section, const ServiceCall& call) noexcept {
  static constexpr TagArray<2> kTags = {2, {PR_SERVICE_DLL_NAME_W, PR_SERVICE_ENTRY_NAME}};
  ComPtr<ProviderSupport> support;
  if (HRESULT hr = ProviderSupport::Create(nullptr, support); Failed(hr)) return hr;
  ChainPtr<SPropValue> names;
  ULONG count = 0;
  HRESULT hr = call_out([&] { return section.GetProps(kTags.address(), MAPI_UNICODE, &count, names.Put()); });
  if (Failed(hr)) return hr;
  if (!names || count != 2 || names.Get()[0].ulPropTag != PR_SERVICE_DLL_NAME_W ||
      names.Get()[1].ulPropTag != PR_SERVICE_ENTRY_NAME || names.Get()[0].Value.lpszW == nullptr ||
      names.Get()[1].Value.lpszA == nullptr) {
    return MAPI_E_INVALID_OBJECT;
  }
  PathBuffer path;
  if (!PathBesideModule(ModuleInstance(), names.Get()[0].Value.lpszW, path)) return MAPI_E_NOT_FOUND;
  UniqueLibrary library(Sys().load_library(path));
  if (!library) return MAPI_E_NOT_FOUND;
  auto* routine = Sys().get_proc_address(library.Get(), names.Get()[1].Value.lpszA);
  if (routine == nullptr) return E_FAIL;
  auto entry = std::bit_cast<UABServiceEntryFunction>(routine);
  return call_out([&] {
    return entry(call.resources, call.ui, call.flags, call.context, call.count, call.values, &section, support.Get(),
                 HostValue());
  });
}

}  // namespace uab
