#include "platform/system_calls.h"

namespace uab {

SystemCalls& Sys() noexcept {
  static SystemCalls calls;
  return calls;
}

}  // namespace uab
