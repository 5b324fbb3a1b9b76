// Calls into providers and the objects that they open, with what comes back checked and in owners. A provider may
// answer success with nothing, with less than was asked for, or with an object of another kind. Any thread may call.
#pragma once

#include "frame/allocation_chain.h"
#include "keluab/addrbook.h"
#include "platform/com_ptr.h"

namespace uab {

// Reads properties and stores how many values came, at most as many as tags; 0 when there is no array. The values are
// of any tag and type. The object's errors.
HRESULT ReadProps(IMAPIProp& object, const SPropTagArray* tags, ULONG flags, ULONG* count,
                  ChainPtr<SPropValue>& values) noexcept;

// Opens an entry through an address book or a provider. object_type is left as it is by an opener that stores none.
// MAPI_E_INVALID_ENTRYID: no identifier. E_FAIL: success without an object. The opener's errors.
HRESULT OpenObject(IAddrBook& opener, const SBinary& entry, ULONG* object_type, ComPtr<IMAPIProp>& object) noexcept;

// The same for what has a container's slots. E_FAIL: it says that it is something else.
HRESULT OpenContainer(IAddrBook& opener, const SBinary& entry, ComPtr<IABContainer>& container) noexcept;

}  // namespace uab
