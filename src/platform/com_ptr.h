// A counted pointer. Construction and assignment from a raw pointer add a reference; Attach and Detach add none.
#pragma once

#include <utility>

#include "platform/win32.h"

namespace uab {

template <typename T>
class ComPtr {
 public:
  ComPtr() noexcept = default;
  ComPtr(std::nullptr_t) noexcept {}
  explicit ComPtr(T* object) noexcept : object_(object) { AddRefTo(object_); }
  ComPtr(const ComPtr& other) noexcept : ComPtr(other.object_) {}
  ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComPtr() { Reset(); }

  // Takes over the caller's reference.
  [[nodiscard]] static ComPtr Attach(T* object) noexcept {
    ComPtr result;
    result.object_ = object;
    return result;
  }

  T* Get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  // Where a call stores an object with a reference of ours. What was held before is released.
  T** Put() noexcept {
    Reset();
    return &object_;
  }
  void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

  // Hands over our reference.
  [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }

  // Another reference for a caller.
  [[nodiscard]] T* Copy() const noexcept {
    AddRefTo(object_);
    return object_;
  }

  void Reset() noexcept {
    T* object = std::exchange(object_, nullptr);
    if (object == nullptr) return;
    try {
      object->Release();
    } catch (...) {  // other people's objects: one that throws from Release is gone all the same
    }
  }

 private:
  static void AddRefTo(T* object) noexcept {
    if (object == nullptr) return;
    try {
      object->AddRef();
    } catch (...) {
    }
  }

  T* object_ = nullptr;
};

}  // namespace uab
