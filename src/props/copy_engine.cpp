#include "props/copy_engine.h"

namespace uab {

// Not written yet.
HRESULT DoCopyTo(NamedObject, const SPropTagArray*, NamedObject, ULONG, SPropProblemArray**) noexcept {
  return MAPI_E_NO_SUPPORT;
}

HRESULT DoCopyProps(NamedObject, const SPropTagArray*, NamedObject, ULONG, SPropProblemArray**) noexcept {
  return MAPI_E_NO_SUPPORT;
}

}  // namespace uab
