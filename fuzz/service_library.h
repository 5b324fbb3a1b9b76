// The library of every service while one of these lives: its routines and its provider do what the input says. One at a
// time.
#pragma once

#include "fuzz/input.h"
#include "platform/noncopyable.h"

namespace uab::fuzz {

class ServiceLibrary : NonCopyable {
 public:
  explicit ServiceLibrary(Input& input);  // REQUIRES: a Registry, which puts the system calls back
  ~ServiceLibrary();

  ULONG held() const noexcept;  // references to its provider
};

}  // namespace uab::fuzz
