// A process that is killed at a chosen instant. Outside Windows.
#pragma once

#include <cstdint>
#include <functional>

namespace uab {

enum class ChildEnd { kKilled, kDone };

// Runs body in a child process, which is killed when it comes to its call-th call of the system, before that is
// carried out. kDone: it made fewer. Throws std::runtime_error where a child can't be traced or ends by itself.
ChildEnd RunKilledAt(std::uint32_t call, const std::function<void()>& body);

}  // namespace uab
