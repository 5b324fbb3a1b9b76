// What every object of the provider has in common: counting references, answering QueryInterface, and keeping C++
// exceptions inside. Any thread.
#pragma once

#include <atomic>
#include <new>
#include <utility>

#include "keluab/keluab.h"

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

// Slots 1 to 3. Ids are the interfaces besides IUnknown. The virtual destructor comes behind the interface's slots.
template <typename Interface, const IID&... Ids>
class Object : public Interface {
 public:
  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) noexcept final {
    if (object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    if (!Answers(iid)) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<Interface*>(this);
    return S_OK;
  }
  ULONG UAB_CALL AddRef() noexcept final { return ++references_; }
  ULONG UAB_CALL Release() noexcept final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  static bool Answers(const IID& iid) noexcept { return iid == IID_IUnknown || ((iid == Ids) || ...); }

 protected:
  Object() noexcept = default;
  virtual ~Object() = default;

 private:
  std::atomic<ULONG> references_{1};
};

// Slots 4 to 14 with the answers of an object that has no properties to change.
template <typename Interface, const IID&... Ids>
class PropObject : public Object<Interface, Ids...> {
 public:
  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return S_OK; }
  HRESULT UAB_CALL SaveChanges(ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL SetProps(ULONG, SPropValue*, SPropProblemArray**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL DeleteProps(SPropTagArray*, SPropProblemArray**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CopyTo(ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                          SPropProblemArray**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL CopyProps(SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                             SPropProblemArray**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetNamesFromIDs(SPropTagArray**, GUID*, ULONG, ULONG*, MAPINAMEID***) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetIDsFromNames(ULONG, MAPINAMEID**, ULONG, SPropTagArray**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
};

}  // namespace uab::vcard
