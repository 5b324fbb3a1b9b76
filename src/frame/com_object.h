// The common part of the library's COM objects: reference count under the object's lock, QueryInterface from a list of
// identifiers, destruction at the last Release.
//
// Object is the final class, Interface the one whose slots it implements. An object is made with one reference, which
// ComPtr::Attach takes over.
#pragma once

#include "platform/at_boundary.h"
#include "platform/com_ptr.h"
#include "platform/noncopyable.h"
#include "platform/section.h"
#include "platform/win32.h"

namespace uab {

template <typename Object, typename Interface, const IID*... kIids>
class ComObject : public Interface, NonCopyable {
 public:
  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) noexcept override {
    if (object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    if (IsNull(iid)) return E_INVALIDARG;
    if (!((iid == IID_IUnknown) || ... || (iid == *kIids))) return E_NOINTERFACE;
    ComObject::AddRef();
    *object = static_cast<Interface*>(this);
    return S_OK;
  }

  ULONG UAB_CALL AddRef() noexcept override {
    LockedScope scope(section_);
    return ++references_;
  }

  ULONG UAB_CALL Release() noexcept override {
    ULONG left = DropReference();
    if (left == 0) delete static_cast<Object*>(this);
    return left;
  }

 protected:
  ComObject() noexcept = default;
  ~ComObject() = default;

  // Runs the body of a slot that calls other people's code, which may give the object's last reference away: the object
  // goes after the body, with all that the body holds.
  template <typename Body>
  HRESULT WhileKept(Body&& body) noexcept {
    ComPtr<Object> self(static_cast<Object*>(this));
    return body();
  }

  Section section_;  // guards the count, and what the object says

  // The same for a call that the slot only forwards.
  template <typename Call>
  HRESULT CallKept(Call&& call) noexcept {
    return WhileKept([&] { return call_out(call); });
  }

 private:
  ULONG DropReference() noexcept {
    LockedScope scope(section_);
    return --references_;
  }

  ULONG references_ UAB_GUARDED_BY(section_) = 1;
};

}  // namespace uab
