// The service definition file: a private-profile file beside the library, under the library's name with the extension
// ".ini". It says which message services a profile may hold.
//
//   [Services]                          lists: what CreateMsgService knows
//   NetDir = Network Directory          service name = text shown to the user; a name once in a list
//   [Default Services]                  what a new profile starts with
//   ...
//   [NetDir]                            one section for each service
//   PR_DISPLAY_NAME = Network Directory
//   PR_SERVICE_DLL_NAME = netdir.dll
//   PR_SERVICE_ENTRY_NAME = NetDirEntry
//   PR_SERVICE_SUPPORT_FILES = netdir.dll,netdir.dat
//   PR_SERVICE_DELETE_FILES = netdir.dat
//   PR_RESOURCE_FLAGS = SERVICE_SINGLE_COPY
//
// Names and keys are compared exactly, with case. Any thread may call.
#pragma once

#include <cstddef>

#include "frame/allocation_chain.h"
#include "platform/module_path.h"

namespace uab {

inline constexpr const WCHAR* kServicesSection = UAB_TEXT("Services");
inline constexpr const WCHAR* kDefaultServicesSection = UAB_TEXT("Default Services");

// Where the values of a service row stand.
enum ServiceRowIndex : ULONG {
  kInstanceKeyValue,
  kServiceNameValue,
  kProviderDisplayValue,
  kDisplayNameValue,
  kLibraryNameValue,
  kEntryNameValue,
  kSupportFilesValue,
  kDeleteFilesValue,
  kServiceUidValue,
  kResourceFlagsValue,
  kServiceRowValues,  // how many
};

// Stores the file's path. E_FAIL: the library's own path can't be obtained, or leaves no room; the path is then empty.
HRESULT GetServiceDefinitionPath(PathBuffer& path) noexcept;

// Stores a section's lines, each terminated, with an empty one behind the last. REQUIRES: lines is empty.
// E_FAIL: no such file. E_INVALIDARG: no such section, an empty one, or the file can't be read. E_OUTOFMEMORY.
HRESULT ReadIniSection(const WCHAR* path, const WCHAR* section, ChainPtr<WCHAR>& lines) noexcept;

// The number of lines of a section.
std::size_t CountLines(const WCHAR* lines) noexcept;

// Stores one row of kServiceRowValues values for each line of a list section, in its order. What a service's section
// does not give is null or 0; PR_SERVICE_UID is empty. Each row's value array is a head block that takes more values.
// Errors as in ReadIniSection, also for the section of a service, and: MAPI_E_BAD_VALUE: a line of the list without "="
// or without text behind it. MAPI_E_COLLISION: a service name twice in the list. Nothing is stored on failure.
HRESULT ReadServiceDefinitions(const WCHAR* list_section, RowSetPtr& rows) noexcept;

}  // namespace uab
