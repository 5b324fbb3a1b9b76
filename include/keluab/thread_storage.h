// Thread-local storage that a library gives back when it is unloaded, for compilers that emulate it: gcc for Windows.
// Include this in one source file of a library that links the compiler's run-time in; elsewhere it is empty.
//
// The run-time's own emulation takes an index of the process, handles and memory at the first thread_local variable or
// caught exception (their state is such a variable), and keeps them after FreeLibrary: after some thousand loads the
// process has no index left and ends. This one stands in its place, for your variables and the run-time's. It also
// gives back the memory that the run-time sets aside for exceptions.
#pragma once

#if defined(_WIN32) && defined(__GNUC__)

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "keluab/base.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;  // where this library lies
#if defined(__GLIBCXX__)
namespace __gnu_cxx {
void __freeres();
}
#endif

namespace uab {
namespace thread_storage {

struct Variable {  // as the compiler lays it out
  std::size_t size, align;
  void* unused;
  const void* initial;  // null: zeroes
};
struct Value {  // of a variable in a thread; the data follows
  Value* next;
  const Variable* variable;
  void* data;
};
struct Thread {  // one that has values
  Thread* next;
  Value* values;
};

static DWORD slot = TLS_OUT_OF_INDEXES;  // where each thread finds its own
static SRWLOCK lock = SRWLOCK_INIT;
static Thread* threads = nullptr;  // under the lock: the others are still alive when the library is unloaded
static bool process_ends = false;

// A failure has nobody to be reported to.
static void* Allocate(std::size_t size) {
  void* block = HeapAlloc(GetProcessHeap(), 0, size);
  if (block == nullptr) std::abort();
  return block;
}

static Thread* MakeThread() {
  Thread* made = new (Allocate(sizeof(Thread))) Thread{nullptr, nullptr};
  if (!TlsSetValue(slot, made)) std::abort();
  AcquireSRWLockExclusive(&lock);
  made->next = threads;
  threads = made;
  ReleaseSRWLockExclusive(&lock);
  return made;
}

static void* MakeValue(Thread& thread, const Variable& variable) {
  void* block = Allocate(sizeof(Value) + variable.size + variable.align);
  const std::uintptr_t behind = reinterpret_cast<std::uintptr_t>(block) + sizeof(Value) + variable.align - 1;
  void* data = reinterpret_cast<void*>(behind & ~(variable.align - 1));
  if (variable.initial != nullptr) std::memcpy(data, variable.initial, variable.size);
  if (variable.initial == nullptr) std::memset(data, 0, variable.size);
  thread.values = new (block) Value{thread.values, &variable, data};
  return data;
}

static void* Find(const Variable& variable) {
  Thread* thread = static_cast<Thread*>(TlsGetValue(slot));
  if (thread == nullptr) thread = MakeThread();
  for (const Value* value = thread->values; value != nullptr; value = value->next) {
    if (value->variable == &variable) return value->data;
  }
  return MakeValue(*thread, variable);
}

// Takes a thread out of the list and frees it.
static void Drop(Thread** link) {
  Thread* dropped = *link;
  *link = dropped->next;
  while (Value* value = dropped->values) {
    dropped->values = value->next;
    HeapFree(GetProcessHeap(), 0, value);
  }
  HeapFree(GetProcessHeap(), 0, dropped);
}

static void EndThread() {
  Thread* ended = static_cast<Thread*>(TlsGetValue(slot));
  if (ended == nullptr) return;
  TlsSetValue(slot, nullptr);
  AcquireSRWLockExclusive(&lock);
  Thread** link = &threads;
  while (*link != ended) link = &(*link)->next;
  Drop(link);
  ReleaseSRWLockExclusive(&lock);
}

// The last that is called for a thread: the variables' destructors have run. A fiber's callback would come before them.
static void NTAPI OnThread(void*, DWORD reason, void* reserved) {
  if (reason == DLL_THREAD_DETACH) EndThread();
  if (reason == DLL_PROCESS_DETACH) process_ends = reserved != nullptr;
}
__attribute__((section(".CRT$XLY"), used)) static const PIMAGE_TLS_CALLBACK on_thread = OnThread;

// The run-time's reserve for exceptions, unless the run-time is another library, which others may use.
static void FreeReserve() {
#if defined(__GLIBCXX__)
  MEMORY_BASIC_INFORMATION place;
  if (VirtualQuery(&std::nothrow, &place, sizeof place) == 0 || place.AllocationBase != &__ImageBase) return;
  __gnu_cxx::__freeres();
#endif
}

// The last destructor of the library. A process that ends gives everything back by itself.
static void Unload() {
  if (process_ends) return;
  while (threads != nullptr) Drop(&threads);
  TlsFree(slot);
  slot = TLS_OUT_OF_INDEXES;
  FreeReserve();
}

// Before every other initialiser, which may throw.
__attribute__((constructor(101))) static void Load() {
  slot = TlsAlloc();
  std::atexit(Unload);
}

}  // namespace thread_storage
}  // namespace uab

// What the compiler calls for the address of a variable. The last error is the caller's.
extern "C" void* __emutls_get_address(void* variable) {
  const DWORD error = GetLastError();
  void* data = uab::thread_storage::Find(*static_cast<const uab::thread_storage::Variable*>(variable));
  SetLastError(error);
  return data;
}

#endif
