// One last error per thread.
#include "platform/win32.h"

namespace uab {
namespace {

thread_local DWORD last_error = 0;

}  // namespace

void SetLastError(DWORD error) { last_error = error; }
DWORD GetLastError() { return last_error; }

}  // namespace uab
