// Copies a list or container with its members, made anew in the destination from its creation templates. A member that
// is reached again is linked to its first copy; a list that contains one that is still being copied ends the copying of
// that list's members with MAPI_E_FOLDER_CYCLE. Lists within lists are worked off from a stack of our own, so that
// their depth is bounded by memory alone.
#pragma once

#include "keluab/props.h"
#include "props/copy_map.h"

namespace uab {

// Copies the listed properties, then, with PR_CONTAINER_CONTENTS among the tags, the members. The source is a list or
// container, the destination is asked for destination_iid. The errors are those up to the first member; how the copying
// of members ends is not reported. problems as in PlainCopy.
HRESULT CopyWithContents(const SPropTagArray* tags, IUnknown* source, IUnknown* destination, const IID& destination_iid,
                         CopyMap& map, ULONG flags, SPropProblemArray** problems) noexcept;

}  // namespace uab
