// The one owner of the system's handles, and its aliases. A policy names the handle type, the value that means none,
// and how to close. Closing keeps the thread's last error, so that a clean-up never hides what is about to be reported.
#pragma once

#include <utility>

#include "platform/win32.h"

namespace uab {

template <typename Policy>
class UniqueResource {
 public:
  using Handle = typename Policy::Handle;

  UniqueResource() noexcept = default;
  explicit UniqueResource(Handle handle) noexcept : handle_(handle) {}
  UniqueResource(UniqueResource&& other) noexcept : handle_(other.Detach()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    if (this != &other) Reset(other.Detach());
    return *this;
  }
  ~UniqueResource() { Reset(); }

  Handle Get() const noexcept { return handle_; }
  Handle operator->() const noexcept { return handle_; }
  explicit operator bool() const noexcept { return handle_ != Policy::kNone; }

  // Where a system call stores a handle. What was held before is closed.
  Handle* Put() noexcept {
    Reset();
    return &handle_;
  }

  [[nodiscard]] Handle Detach() noexcept { return std::exchange(handle_, Policy::kNone); }

  void Reset(Handle handle = Policy::kNone) noexcept {
    Handle old = std::exchange(handle_, handle);
    if (old == Policy::kNone) return;
    DWORD error = GetLastError();
    Policy::Close(old);
    SetLastError(error);
  }

 private:
  Handle handle_ = Policy::kNone;
};

struct KeyPolicy {
  using Handle = HKEY;
  static constexpr Handle kNone = nullptr;
  static void Close(Handle key) noexcept { RegCloseKey(key); }
};
using UniqueKey = UniqueResource<KeyPolicy>;

struct LibraryPolicy {
  using Handle = HMODULE;
  static constexpr Handle kNone = nullptr;
  static void Close(Handle library) noexcept { FreeLibrary(library); }
};
using UniqueLibrary = UniqueResource<LibraryPolicy>;

}  // namespace uab
