// Where exceptions end, in both directions: those of our own code at a slot or export, those of other people's code at
// the call that we make into it.
#pragma once

#include <new>

#include "platform/win32.h"

namespace uab {

// Runs the body of a slot or export. A failed allocation becomes E_OUTOFMEMORY, anything else that escapes E_FAIL.
template <typename Body>
HRESULT at_boundary(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

// Runs a call into a provider, a service library or a host's object. The same rule; the name says whose code it is.
template <typename Call>
HRESULT call_out(Call&& call) noexcept {
  return at_boundary(static_cast<Call&&>(call));
}

}  // namespace uab
