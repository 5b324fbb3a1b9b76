// The exported UABAdminProfiles: its argument checks, in their order.
#include "frame/module.h"
#include "keluab/exports.h"
#include "profiles/prof_admin.h"

using namespace uab;

HRESULT UAB_CALL UABAdminProfiles(WCHAR* app_key, HINSTANCE resources, ULONG flags, IProfAdmin** admin,
                                  ULONG_PTR host_param) {
  OfferHostValue(host_param);
  if (admin == nullptr) return E_INVALIDARG;
  if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
  ComPtr<ProfAdmin> made;
  if (HRESULT hr = ProfAdmin::Create(app_key, resources, made); Failed(hr)) return hr;
  *admin = made.Detach();
  return S_OK;
}
