// The built library, loaded at run time from beside the test program as a host would. The only place in the tests that
// knows which system it runs on.
#pragma once

#include "keluab/keluab.h"

#if !defined(_WIN32)
#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <string>
#endif

namespace uab {

#if defined(_WIN32)

inline void* LoadKeluab() { return LoadLibraryA(KELUAB_FILE); }
inline bool UnloadKeluab(void* library) { return FreeLibrary(static_cast<HMODULE>(library)) != 0; }
inline bool IsKeluabLoaded() { return GetModuleHandleA(KELUAB_FILE) != nullptr; }
inline void* AddressIn(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

#else

inline std::string KeluabPath() {
  char path[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  std::string program(path, length > 0 ? static_cast<std::size_t>(length) : 0);
  return program.substr(0, program.rfind('/') + 1) + KELUAB_FILE;
}
inline void* LoadKeluab() { return dlopen(KeluabPath().c_str(), RTLD_NOW | RTLD_LOCAL); }
inline bool UnloadKeluab(void* library) { return dlclose(library) == 0; }
inline bool IsKeluabLoaded() {
  void* library = dlopen(KeluabPath().c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library != nullptr) dlclose(library);
  return library != nullptr;
}
inline void* AddressIn(void* library, const char* name) { return dlsym(library, name); }

#endif

// The exports, null where the library is not loaded or lacks one.
class LoadedLibrary {
 public:
  LoadedLibrary() : library_(LoadKeluab()) {
    Find(open, "UABOpen");
    Find(admin_profiles, "UABAdminProfiles");
    Find(allocate_buffer, "UABAllocateBuffer");
    Find(allocate_more, "UABAllocateMore");
    Find(free_buffer, "UABFreeBuffer");
    Find(free_prows, "UABFreeProws");
    Find(free_padrlist, "UABFreePadrlist");
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  ~LoadedLibrary() { Unload(); }

  bool Unload() {
    void* library = library_;
    library_ = nullptr;
    return library != nullptr && UnloadKeluab(library);
  }
  bool complete() const {
    return open && admin_profiles && allocate_buffer && allocate_more && free_buffer && free_prows && free_padrlist;
  }

  UABOpenFunction open = nullptr;
  UABAdminProfilesFunction admin_profiles = nullptr;
  UABAllocateBufferFunction allocate_buffer = nullptr;
  UABAllocateMoreFunction allocate_more = nullptr;
  UABFreeBufferFunction free_buffer = nullptr;
  UABFreeProwsFunction free_prows = nullptr;
  UABFreePadrlistFunction free_padrlist = nullptr;

 private:
  template <typename Function>
  void Find(Function& function, const char* name) {
    if (library_ != nullptr) function = reinterpret_cast<Function>(AddressIn(library_, name));
  }

  void* library_;
};

}  // namespace uab
