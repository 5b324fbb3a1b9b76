// The module that this code is part of, as the loader knows it.
#pragma once

#include "platform/win32.h"

namespace uab {

// Called while the process attaches: also keeps the module's full path, for a module that was loaded by a relative one.
HMODULE ThisModule() noexcept;

}  // namespace uab
