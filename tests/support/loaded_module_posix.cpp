#include <dlfcn.h>

#include <filesystem>

#include "support/loaded_module.h"

namespace uab {

bool IsModuleLoaded(const std::string& file_name) {
  std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe").replace_filename(file_name);
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library != nullptr) dlclose(library);
  return library != nullptr;
}

}  // namespace uab
