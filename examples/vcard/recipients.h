// PrepareRecips: completes the recipients of an address list.
#pragma once

#include "folder.h"

namespace uab::vcard {

// Gives each entry the properties of tags in their order, from its card or else from what it has, and keeps its other
// values behind them. All of the entries are completed, or none. Inside Folder::Run.
HRESULT PrepareRecipients(Folder& folder, const SPropTagArray& tags, ADRLIST& list);

}  // namespace uab::vcard
