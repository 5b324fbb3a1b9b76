#include <windows.h>

#include "module.h"

void* LoadModule(const char* path) { return LoadLibraryA(path); }
void* FindExport(void* module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}
void UnloadModule(void* module) { FreeLibrary(static_cast<HMODULE>(module)); }
