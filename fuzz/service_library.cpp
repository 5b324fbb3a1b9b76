#include "fuzz/service_library.h"

#include <string_view>

#include "fuzz/registry.h"
#include "fuzz/values.h"
#include "keluab/provider.h"
#include "support/refusing_objects.h"

namespace uab::fuzz {
namespace {

struct Provider final : RefusingAddrBook<RefusingProp<Refusing<IAddrBook>>> {};

Input* script = nullptr;
Provider provider;

HRESULT Answer() {
  switch (script->done() ? 0 : script->Below(8)) {
    case 1:
      throw 1;
    case 2:
      return E_FAIL;
    case 3:
      return MAPI_W_ERRORS_RETURNED;
    default:
      return S_OK;
  }
}

void Change(IMAPIProp& section) {
  const auto count = static_cast<ULONG>(script->Below(3));
  ChainPtr<SPropValue> values = DrawValues(*script, count);
  (void)section.SetProps(count, values.Get(), nullptr);
  if (script->OneIn(2)) (void)section.SaveChanges(0);
}

HRESULT UAB_CALL Open(WCHAR*, HINSTANCE, IUABSupport* support, IMAPIProp* section, ULONG_PTR, ULONG,
                      UABAllocateBufferFunction, UABAllocateMoreFunction, UABFreeBufferFunction, IAddrBook** object,
                      ULONG_PTR) {
  MAPIUID uid = {{static_cast<BYTE>(script->Below(3))}};
  if (!script->OneIn(4)) (void)support->SetProviderUID(&uid, 0);
  Change(*section);
  const bool has_object = !script->OneIn(4);
  if (has_object) *object = &provider;  // a failure leaves it behind without a reference
  const HRESULT hr = Answer();
  if (has_object && Succeeded(hr)) provider.AddRef();
  return hr;
}

HRESULT UAB_CALL Entry(HINSTANCE, ULONG_PTR, ULONG, ULONG, ULONG, SPropValue*, IMAPIProp* section, IUABSupport*,
                       ULONG_PTR) {
  Change(*section);
  return Answer();
}

}  // namespace

ServiceLibrary::ServiceLibrary(Input& input) {
  script = &input;
  Sys().load_library = [](const WCHAR*) { return script->OneIn(8) ? nullptr : AnyLibrary(); };
  Sys().get_proc_address = [](HMODULE, const char* name) -> FARPROC {
    if (script->OneIn(16)) return nullptr;
    const bool opens = std::string_view(name) == "ABProviderOpen";
    return opens ? reinterpret_cast<FARPROC>(&Open) : reinterpret_cast<FARPROC>(&Entry);
  };
}

ServiceLibrary::~ServiceLibrary() { script = nullptr; }

ULONG ServiceLibrary::held() const noexcept { return provider.references; }

}  // namespace uab::fuzz
