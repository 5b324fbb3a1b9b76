/* Loading a library and a hive of one's own, on both systems. */
#ifndef OTHER_COMPILER_SYSTEM_H
#define OTHER_COMPILER_SYSTEM_H

#if defined(_WIN32)

#include <windows.h>

/* One of this process, and one for several. */
static const wchar_t kHive[] = L"Software\\KELUAB other compiler test", kSharedHive[] = L"Software\\KELUAB workers test";

static inline void remove_named_hive(const wchar_t* name) {
  RegOverridePredefKey(HKEY_CURRENT_USER, NULL);
  RegDeleteTreeW(HKEY_CURRENT_USER, name);
}
static inline int use_named_hive(const wchar_t* name, int fresh) {
  HKEY key;
  if (fresh) remove_named_hive(name);
  if (RegCreateKeyExW(HKEY_CURRENT_USER, name, 0, NULL, 0, KEY_ALL_ACCESS, NULL, &key, NULL) != 0) return 0;
  return RegOverridePredefKey(HKEY_CURRENT_USER, key) == 0 && RegCloseKey(key) == 0;
}
static inline int use_fresh_hive(void) { return use_named_hive(kHive, 1); }
static inline int use_shared_hive(int fresh) { return use_named_hive(kSharedHive, fresh); }
static inline void remove_hive(void) { remove_named_hive(kHive); }
static inline void remove_shared_hive(void) { remove_named_hive(kSharedHive); }
static inline void* load(const char* path) { return LoadLibraryA(path); }
static inline void* symbol(void* library, const char* name) { return (void*)GetProcAddress(library, name); }
static inline void unload(void* library) { FreeLibrary(library); }

#else

#include <dlfcn.h>
#include <stdlib.h>

static char hive_folder[] = "keluab-other-compiler-XXXXXX"; /* in the working folder */

static inline int use_fresh_hive(void) {
  char* path = mkdtemp(hive_folder) != NULL ? realpath(hive_folder, NULL) : NULL; /* a relative one would be passed over */
  int used = path != NULL && setenv("XDG_CONFIG_HOME", path, 1) == 0;
  free(path);
  return used;
}
/* One for several processes: whoever starts them names it in the environment, and removes it. */
static inline void remove_shared_hive(void) {}
static inline int use_shared_hive(int fresh) {
  (void)fresh;
  return getenv("XDG_CONFIG_HOME") != NULL;
}
static inline void remove_hive(void) {
  char command[sizeof hive_folder + 16];
  snprintf(command, sizeof command, "rm -r %s", hive_folder);
  if (system(command) != 0) fprintf(stderr, "%s is left\n", hive_folder);
}
static inline void* load(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static inline void* symbol(void* library, const char* name) { return dlsym(library, name); }
static inline void unload(void* library) { dlclose(library); }

#endif

#endif
