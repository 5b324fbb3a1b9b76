// Counts the requests that are made of something and refuses one of them, or that one and all that follow.
#pragma once

#include <cstdint>

#include "platform/noncopyable.h"

namespace uab {

class Countdown : NonCopyable {
 public:
  // Requests are numbered from 1; refused_request 0 refuses none.
  explicit Countdown(std::uint32_t refused_request = 0, bool lasting = false) noexcept
      : refused_request_(refused_request), lasting_(lasting) {}

  // Counts a request; true: it has to fail.
  bool Refuses() noexcept {
    ++requests_;
    if (refused_request_ == 0 || requests_ < refused_request_) return false;
    if (requests_ > refused_request_ && !lasting_) return false;
    ++refused_;
    return true;
  }

  std::uint32_t requests() const noexcept { return requests_; }
  std::uint32_t refused() const noexcept { return refused_; }

 private:
  std::uint32_t refused_request_;
  bool lasting_;
  std::uint32_t requests_ = 0;
  std::uint32_t refused_ = 0;
};

}  // namespace uab
