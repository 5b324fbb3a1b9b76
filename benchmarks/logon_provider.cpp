// The least provider there can be: it is loaded, asked for its object, and has none. What a logon costs beyond that is
// the library's.
#include "keluab/provider.h"

using namespace uab;

#if defined(_WIN32)
#define UAB_EXPORTED extern "C" __declspec(dllexport)
#else
#define UAB_EXPORTED extern "C" __attribute__((visibility("default")))
#endif

UAB_EXPORTED HRESULT UAB_CALL ABProviderOpen(WCHAR*, HINSTANCE, IUABSupport*, IMAPIProp*, ULONG_PTR, ULONG,
                                             UABAllocateBufferFunction, UABAllocateMoreFunction, UABFreeBufferFunction,
                                             IAddrBook** provider, ULONG_PTR) {
  *provider = nullptr;
  return S_OK;
}

UAB_EXPORTED HRESULT UAB_CALL ServiceEntry(HINSTANCE, ULONG_PTR, ULONG, ULONG, ULONG, SPropValue*, IMAPIProp*,
                                           IUABSupport*, ULONG_PTR) {
  return S_OK;
}
