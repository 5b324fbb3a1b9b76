#include "platform/wait_scope.h"

#include <algorithm>
#include <utility>

namespace uab {
namespace {

constinit thread_local WaitScope* outermost = nullptr;

}  // namespace

WaitScope::WaitScope() noexcept : outer_(outermost) {
  if (outer_ == nullptr) outermost = this;
}

WaitScope::~WaitScope() {
  if (outer_ == nullptr) outermost = nullptr;
}

WaitPause::WaitPause() noexcept : outer_(std::exchange(outermost, nullptr)) {}

WaitPause::~WaitPause() {
  outermost = outer_;
  if (outer_ != nullptr) outer_->waited_ = 0;
}

Wait::Wait() noexcept : start_(GetTickCount64()) {}

Wait::~Wait() {
  if (outermost != nullptr) outermost->waited_ += Waited();
}

DWORD Wait::Waited() const noexcept {
  return static_cast<DWORD>(std::min<std::uint64_t>(GetTickCount64() - start_, longest_wait));
}

DWORD Wait::Left() const noexcept {
  const DWORD before = outermost != nullptr ? std::min(outermost->waited_, longest_wait) : 0;
  return longest_wait - std::min(longest_wait, before + Waited());
}

}  // namespace uab
