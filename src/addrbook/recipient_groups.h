// Completing recipients by the providers that own them.
#pragma once

#include "keluab/addrbook.h"

namespace uab {

class AddrBook;

// Has every provider complete its own recipients with the properties of tags (may be null), in list order, those
// without any too; recipients of no provider get the tags that they lack as PT_ERROR values. Then regroups the list:
// provider after provider, those of no provider last, each group in its old order.
//
// The number of entries stays, and whatever a provider does to its part of the list, each recipient keeps its place
// with the value array that its provider left there; an entry whose array is gone has no values, nor has one behind the
// count when a provider lowers it. On an error (a
// provider's, or MAPI_E_END_OF_SESSION: the session ended meanwhile) the list keeps its order, with the arrays that are
// then valid. E_OUTOFMEMORY before the first provider is called: the list is as before.
//
// Linear in recipients; each provider adds one call.
HRESULT PrepareRecipients(AddrBook& address_book, SPropTagArray* tags, ADRLIST& list) noexcept;

}  // namespace uab
