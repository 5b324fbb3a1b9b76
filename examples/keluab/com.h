// Owners for what the library hands out: a counted pointer and blocks of the allocation chain.
#pragma once

#include <utility>

#include "keluab/keluab.h"

namespace host {

// Holds one reference. Put is where a call stores an object with a reference of ours.
template <typename T>
class Com {
 public:
  Com() = default;
  explicit Com(T* counted) : object_(counted) {}
  Com(Com&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Com& operator=(Com&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  Com(const Com& other) : object_(other.object_) {
    if (object_ != nullptr) object_->AddRef();
  }
  Com& operator=(const Com&) = delete;
  ~Com() { Reset(); }

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }
  T** Put() {
    Reset();
    return &object_;
  }
  void Reset() {
    if (T* object = std::exchange(object_, nullptr)) object->Release();
  }

 private:
  T* object_ = nullptr;
};

// Owns a head block of the allocation chain.
template <typename T>
class Buffer {
 public:
  Buffer() = default;
  explicit Buffer(T* head) : head_(head) {}
  Buffer(Buffer&& other) noexcept : head_(std::exchange(other.head_, nullptr)) {}
  Buffer& operator=(Buffer&& other) noexcept {
    std::swap(head_, other.head_);
    return *this;
  }
  ~Buffer() { Reset(); }

  T* get() const { return head_; }
  T* operator->() const { return head_; }
  T** Put() {
    Reset();
    return &head_;
  }
  void Reset() {
    if (T* head = std::exchange(head_, nullptr)) UABFreeBuffer(head);
  }

 private:
  T* head_ = nullptr;
};

// Owns a row set or an address list with its value arrays.
class Rows {
 public:
  Rows() = default;
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;
  ~Rows() { UABFreeProws(rows_); }
  uab::SRowSet* operator->() const { return rows_; }
  uab::SRowSet* get() const { return rows_; }
  uab::SRowSet** Put() {
    UABFreeProws(std::exchange(rows_, nullptr));
    return &rows_;
  }

 private:
  uab::SRowSet* rows_ = nullptr;
};

class Recipients {
 public:
  Recipients() = default;
  explicit Recipients(uab::ADRLIST* list) : list_(list) {}
  Recipients(Recipients&& other) noexcept : list_(std::exchange(other.list_, nullptr)) {}
  Recipients& operator=(const Recipients&) = delete;
  ~Recipients() { UABFreePadrlist(list_); }
  uab::ADRLIST* operator->() const { return list_; }
  uab::ADRLIST* get() const { return list_; }
  uab::ADRLIST** address() { return &list_; }

 private:
  uab::ADRLIST* list_ = nullptr;
};

}  // namespace host
