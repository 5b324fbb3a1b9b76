// The system calls that can fail, in one table. The library makes them through Sys(), so that a test can put a failing
// one in a call's place, with the same code on every system. What a call answers when it is made to fail stands in
// tests/support/system_call_failure.cpp, one line for each.
#pragma once

#include "platform/win32.h"

namespace uab {

struct SystemCalls {
  decltype(&GetModuleFileNameW) get_module_file_name = &GetModuleFileNameW;
  decltype(&LoadLibraryW) load_library = &LoadLibraryW;
  decltype(&GetProcAddress) get_proc_address = &GetProcAddress;
  decltype(&CoCreateGuid) co_create_guid = &CoCreateGuid;
};

// The calls in force. Changed only by tests, while nothing else runs.
SystemCalls& Sys() noexcept;

}  // namespace uab
