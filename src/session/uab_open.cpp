// The exported UABOpen: its argument checks, in their order.
#include "frame/module.h"
#include "keluab/exports.h"

using namespace uab;

HRESULT UAB_CALL UABOpen(WCHAR*, HINSTANCE, ULONG_PTR, WCHAR*, ULONG flags, void* reserved1, void* reserved2,
                         void* reserved3, IAddrBook**, IUABSession** session, ULONG_PTR host_param) {
  OfferHostValue(host_param);
  if (session == nullptr) return E_INVALIDARG;
  if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
  if (reserved1 != nullptr || reserved2 != nullptr || reserved3 != nullptr) return MAPI_E_NO_SUPPORT;
  return MAPI_E_NO_SUPPORT;
}
