// The exported UABAdminProfiles: its argument checks, in their order.
#include "frame/module.h"
#include "keluab/exports.h"

using namespace uab;

HRESULT UAB_CALL UABAdminProfiles(WCHAR*, HINSTANCE, ULONG flags, IProfAdmin** admin, ULONG_PTR host_param) {
  OfferHostValue(host_param);
  if (admin == nullptr) return E_INVALIDARG;
  if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
  return MAPI_E_NO_SUPPORT;
}
