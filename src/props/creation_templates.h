// The templates from which a list or container makes new entries.
#pragma once

#include "frame/allocation_chain.h"
#include "keluab/props.h"

namespace uab {

struct CreationTemplates {
  ChainPtr<SBinary> user;  // identifiers; null: it makes none of these
  ChainPtr<SBinary> list;
};

// Stores the templates that the destination's properties name or, when no user template is among them, both from its
// table of templates: the last row for users and the first for lists. Errors of the destination's calls;
// E_OUTOFMEMORY.
HRESULT FindCreationTemplates(IUnknown* destination, CreationTemplates& templates) noexcept;

}  // namespace uab
