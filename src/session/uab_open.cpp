// The exported UABOpen: its argument checks, in their order, then the logon.
#include "frame/module.h"
#include "keluab/exports.h"
#include "platform/wait_scope.h"
#include "session/logon.h"

using namespace uab;

HRESULT UAB_CALL UABOpen(WCHAR* app_key, HINSTANCE resources, ULONG_PTR caller_param, WCHAR* profile_name, ULONG flags,
                         void* reserved1, void* reserved2, void* reserved3, IAddrBook** address_book,
                         IUABSession** session, ULONG_PTR host_param) {
  OfferHostValue(host_param);
  if (session == nullptr) return E_INVALIDARG;
  if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
  if (reserved1 != nullptr || reserved2 != nullptr || reserved3 != nullptr) return MAPI_E_NO_SUPPORT;
  WaitScope wait;
  return Logon({app_key, resources, caller_param, flags}, profile_name, address_book, session);
}
