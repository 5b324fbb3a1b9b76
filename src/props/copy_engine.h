// Copies properties, and whole lists with their members, between objects that may be anybody's. No lock and no state
// between calls: the objects guard themselves. Whatever an object does wrong (fails, throws, answers too little or
// with other types), every reference is released and every buffer freed; entries made before a failure stay.
#pragma once

#include "keluab/addrbook.h"
#include "keluab/props.h"

namespace uab {

// An object as a caller names it: the interface says what it is, the object's slots are asked for by QueryInterface.
struct NamedObject {
  const IID* iid;
  void* object;  // an IUnknown

  IUnknown* unknown() const noexcept { return static_cast<IUnknown*>(object); }
};

// Copies every property of the source but those that excluded (may be null) names; the rest as in DoCopyProps.
HRESULT DoCopyTo(NamedObject source, const SPropTagArray* excluded, NamedObject destination, ULONG flags,
                 SPropProblemArray** problems) noexcept;

// Copies the listed properties; with PR_CONTAINER_CONTENTS among them (for a container, PR_CONTAINER_HIERARCHY takes
// the same way and copies nothing more) the members of a list or container too, made anew from the destination's
// creation templates. How the copying of the members ends is not reported. flags: MAPI_UNICODE, MAPI_NOREPLACE.
// problems may be null, or receives null or the destination's problems, which the caller frees. In this order:
// E_INVALIDARG: something else null. E_NOINTERFACE: an interface that is not known. MAPI_E_NOT_FOUND: an object without
// PR_ENTRYID. E_ACCESSDENIED: both are the same entry. MAPI_E_NO_SUPPORT: contents that the interfaces don't have.
HRESULT DoCopyProps(NamedObject source, const SPropTagArray* tags, NamedObject destination, ULONG flags,
                    SPropProblemArray** problems) noexcept;

}  // namespace uab
