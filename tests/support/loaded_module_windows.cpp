#include "platform/win32.h"
#include "support/loaded_module.h"

namespace uab {

bool IsModuleLoaded(const std::string& file_name) { return GetModuleHandleA(file_name.c_str()) != nullptr; }

}  // namespace uab
