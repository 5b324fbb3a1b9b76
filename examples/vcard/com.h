// What every object of the provider has in common: holding references, and keeping C++ exceptions inside. Any thread.
#pragma once

#include <new>
#include <utility>

#include "keluab/keluab.h"
#include "keluab/objects.h"

namespace uab::vcard {

// Runs the body of a slot or export: nothing that is thrown leaves it.
template <typename Body>
HRESULT Guard(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

// A counted pointer; Attach takes over a reference.
template <typename T>
class Ref {
 public:
  Ref() noexcept = default;
  explicit Ref(T* object) noexcept : object_(object) {
    if (object_ != nullptr) object_->AddRef();
  }
  static Ref Attach(T* object) noexcept {
    Ref result;
    result.object_ = object;
    return result;
  }
  Ref(const Ref& other) noexcept : Ref(other.object_) {}
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Ref() {
    if (object_ != nullptr) object_->Release();
  }
  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }

 private:
  T* object_ = nullptr;
};

// Slots 1 to 14 with the answers of an object that has no properties to change.
template <typename Interface, const IID&... Ids>
using PropObject = RefusingProp<Counted<Interface, Ids...>>;

}  // namespace uab::vcard
