// Libraries over dlopen. A module handle is what dlopen gives; a path's last separator is "/".
#include "platform/posix/modules.h"

#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/posix/utf.h"

namespace uab {
namespace {

// This module and its full path at load; plain memory, so that nothing is destroyed at unload.
HMODULE this_module = nullptr;
char this_path[PATH_MAX];

std::string ExecutablePath() {
  char path[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

std::string FullPath(const char* path) {
  if (path[0] == '\0') return ExecutablePath();
  if (path[0] == '/') return path;
  char folder[PATH_MAX];
  if (getcwd(folder, sizeof folder) == nullptr) return path;
  return std::string(folder) + "/" + path;
}

std::string ModulePath(HMODULE module) {
  if (module == nullptr) return ExecutablePath();
  if (module == this_module) return this_path;
  link_map* map = nullptr;
  if (dlinfo(module, RTLD_DI_LINKMAP, &map) != 0) return {};
  return FullPath(map->l_name);
}

}  // namespace

HMODULE ThisModule() noexcept {
  Dl_info info;
  void* map = nullptr;
  if (dladdr1(reinterpret_cast<void*>(&ThisModule), &info, &map, RTLD_DL_LINKMAP) == 0) return nullptr;
  this_module = static_cast<HMODULE>(map);
  try {
    std::string path = FullPath(static_cast<link_map*>(map)->l_name);
    if (path.size() < sizeof this_path) std::memcpy(this_path, path.c_str(), path.size() + 1);
  } catch (const std::bad_alloc&) {  // without a path, reading the definition file and loading libraries fail later
    this_path[0] = '\0';
  }
  return this_module;
}

DWORD GetModuleFileNameW(HMODULE module, WCHAR* path, DWORD size) {
  try {
    std::u16string text = PathToUtf16(ModulePath(module));
    if (text.empty() || size == 0) {
      SetLastError(text.empty() ? ERROR_INVALID_HANDLE : ERROR_INSUFFICIENT_BUFFER);
      return 0;
    }
    std::size_t stored = std::min<std::size_t>(text.size(), size - 1);
    std::copy_n(text.data(), stored, path);
    path[stored] = 0;
    SetLastError(stored < text.size() ? ERROR_INSUFFICIENT_BUFFER : ERROR_SUCCESS);
    return stored < text.size() ? size : static_cast<DWORD>(stored);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
  }
}

HMODULE LoadLibraryW(const WCHAR* path) {
  try {
    void* module = dlopen(PathFromUtf16(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
    return static_cast<HMODULE>(module);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
  void* address = dlsym(module, name);
  if (address == nullptr) SetLastError(ERROR_PROC_NOT_FOUND);
  return reinterpret_cast<FARPROC>(address);
}

BOOL FreeLibrary(HMODULE module) { return dlclose(module) == 0 ? TRUE : FALSE; }

}  // namespace uab
