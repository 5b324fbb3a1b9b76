// Whether a library that lies beside the test program is in the process.
#pragma once

#include <string>

namespace uab {

bool IsModuleLoaded(const std::string& file_name);

}  // namespace uab
