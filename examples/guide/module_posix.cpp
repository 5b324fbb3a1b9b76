#include <dlfcn.h>

#include "module.h"

void* LoadModule(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
void* FindExport(void* module, const char* name) { return dlsym(module, name); }
void UnloadModule(void* module) { dlclose(module); }
