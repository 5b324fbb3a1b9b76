/* Loading a library and a hive of one's own, on both systems. */
#ifndef OTHER_COMPILER_SYSTEM_H
#define OTHER_COMPILER_SYSTEM_H

#if defined(_WIN32)

#include <malloc.h>
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

#define THREAD_RESULT DWORD WINAPI
static inline int run_thread(LPTHREAD_START_ROUTINE function) {
  HANDLE thread = CreateThread(NULL, 0, function, NULL, 0, NULL);
  return thread != NULL && WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0 && CloseHandle(thread);
}
/* Indices and handles are given out from the lowest free one on. */
static inline void count_what_is_held(size_t counts[4]) {
  PROCESS_HEAP_ENTRY entry = {0};
  _HEAPINFO block = {0};
  HANDLE event = CreateEventW(NULL, FALSE, FALSE, NULL);
  counts[0] = 0, counts[1] = TlsAlloc(), counts[2] = FlsAlloc(NULL), counts[3] = (size_t)event;
  CloseHandle(event), FlsFree((DWORD)counts[2]), TlsFree((DWORD)counts[1]);
  while (HeapWalk(GetProcessHeap(), &entry)) counts[0] += entry.wFlags & PROCESS_HEAP_ENTRY_BUSY ? entry.cbData : 0;
  while (_heapwalk(&block) == _HEAPOK) counts[0] += block._useflag == _USEDENTRY ? block._size : 0;
}

#else

#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

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

#define THREAD_RESULT void*
static inline int run_thread(void* (*function)(void*)) {
  pthread_t thread;
  return pthread_create(&thread, NULL, function, NULL) == 0 && pthread_join(thread, NULL) == 0;
}
#if defined(__SANITIZE_ADDRESS__) /* whose heap is its own, and maps what it likes */
size_t __sanitizer_get_current_allocated_bytes(void);
#endif
static inline void count_what_is_held(size_t counts[4]) {
  pthread_key_t key;
  pthread_key_create(&key, NULL), pthread_key_delete(key);
  counts[1] = 0, counts[2] = key, counts[3] = (size_t)open("/proc/self/maps", O_RDONLY);
  FILE* maps = fdopen((int)counts[3], "r");
  for (int c; (c = getc(maps)) != EOF;) counts[1] += c == '\n';
  fclose(maps);
#if defined(__SANITIZE_ADDRESS__)
  counts[0] = __sanitizer_get_current_allocated_bytes(), counts[1] = 0;
#else
  struct mallinfo2 heap = mallinfo2();
  counts[0] = heap.uordblks + heap.hblkhd;
#endif
}

#endif

#endif
