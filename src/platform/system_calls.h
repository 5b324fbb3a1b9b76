// The system calls that can fail, in one table. The library makes them through Sys(), so that a test can put a failing
// one in a call's place, with the same code on every system. What a call answers when it is made to fail stands in
// tests/support/system_call_failure.cpp, one line for each.
#pragma once

#include "platform/user_mutex.h"
#include "platform/win32.h"

namespace uab {

struct SystemCalls {
  decltype(&GetModuleFileNameW) get_module_file_name = &GetModuleFileNameW;
  decltype(&LoadLibraryW) load_library = &LoadLibraryW;
  decltype(&GetProcAddress) get_proc_address = &GetProcAddress;
  decltype(&AcquireUserMutex) acquire_user_mutex = &AcquireUserMutex;
  decltype(&CoCreateGuid) co_create_guid = &CoCreateGuid;
  decltype(&GetPrivateProfileSectionW) get_private_profile_section = &GetPrivateProfileSectionW;
  decltype(&RegCreateKeyExW) reg_create_key = &RegCreateKeyExW;
  decltype(&RegOpenKeyExW) reg_open_key = &RegOpenKeyExW;
  decltype(&RegEnumKeyExW) reg_enum_key = &RegEnumKeyExW;
  decltype(&RegEnumValueW) reg_enum_value = &RegEnumValueW;
  decltype(&RegQueryValueExW) reg_query_value = &RegQueryValueExW;
  decltype(&RegSetValueExW) reg_set_value = &RegSetValueExW;
  decltype(&RegDeleteKeyW) reg_delete_key = &RegDeleteKeyW;
  decltype(&RegDeleteValueW) reg_delete_value = &RegDeleteValueW;
  decltype(&DialogBoxParamW) dialog_box_param = &DialogBoxParamW;
};

// The calls in force. Changed only by tests, while nothing else runs.
SystemCalls& Sys() noexcept;

}  // namespace uab
