// Bases of a test's own tables, containers and address books, with a reference count that a test can read; the test
// owns the object. Slots that a fake does not write refuse.
#pragma once

#include <atomic>

#include "keluab/objects.h"
#include "platform/win32.h"

namespace uab {

template <typename Interface>
struct Refusing : Interface {
  HRESULT UAB_CALL QueryInterface(const IID&, void** object) override {
    *object = this;
    ++references;
    return S_OK;
  }
  ULONG UAB_CALL AddRef() noexcept override { return ++references; }
  ULONG UAB_CALL Release() override { return --references; }

  std::atomic<ULONG> references{0};  // that others hold
};

}  // namespace uab
