// Base types of KELUAB: fixed widths, UTF-16 strings, GUIDs and IUnknown, the same on every system.
//
// On Windows they are the system's own types; elsewhere they are declared here with the same sizes, so that one source
// builds a host or a provider for both. Everything lives in namespace uab.
#pragma once

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// The COM base types come after <windows.h>.
#include <unknwn.h>
#else
#include <cstdint>
#include <cstring>
#endif

// UAB_TEXT("...") makes a UTF-16 string literal: const WCHAR[].
#if defined(_WIN32)
#define UAB_TEXT(literal) L##literal
#else
#define UAB_TEXT(literal) u##literal
#endif

// Calling convention of slots and exported functions. 64-bit systems have one; the name keeps the contract visible.
#if defined(_WIN32)
#define UAB_CALL __stdcall
#define UAB_IMPORT __declspec(dllimport)
#else
#define UAB_CALL
#define UAB_IMPORT
#endif

// What a provider or a service library marks its two exported functions with, inside extern "C".
#if defined(_WIN32)
#define UAB_PLUGIN_EXPORT __declspec(dllexport)
#else
#define UAB_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

namespace uab {

static_assert(sizeof(void*) == 8, "KELUAB is a 64-bit library");

#if defined(_WIN32)

using ::BOOL;
using ::BYTE;
using ::DWORD;
using ::FILETIME;
using ::GUID;
using ::HINSTANCE;
using ::HMODULE;
using ::HRESULT;
using ::HWND;
using ::IID;
using ::IUnknown;
using ::LONG;
using ::LONG_PTR;
using ::LONGLONG;
using ::ULONG;
using ::ULONG_PTR;
using ::WCHAR;
using ::WORD;

#else

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using BOOL = std::int32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using HRESULT = LONG;
using WCHAR = char16_t;  // one UTF-16 code unit

// Modules are named by what dlopen gives; windows by the terminal dialog that stands in for one.
using HMODULE = struct ModuleHandle*;
using HINSTANCE = HMODULE;
using HWND = struct WindowHandle*;

struct FILETIME {  // 100 ns units since 1601-01-01, UTC
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  BYTE Data4[8];
};
using IID = GUID;

inline bool operator==(const GUID& a, const GUID& b) noexcept { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator!=(const GUID& a, const GUID& b) noexcept { return !(a == b); }

// The root of every interface: slots 1 to 3. AddRef and Release return the new count, for diagnosis only.
struct IUnknown {
  virtual HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) = 0;
  virtual ULONG UAB_CALL AddRef() = 0;
  virtual ULONG UAB_CALL Release() = 0;
};

#endif

static_assert(sizeof(WCHAR) == 2 && sizeof(ULONG) == 4 && sizeof(LONG) == 4 && sizeof(BOOL) == 4, "fixed widths");
static_assert(sizeof(HRESULT) == 4 && sizeof(DWORD) == 4 && sizeof(ULONG_PTR) == 8 && sizeof(HMODULE) == 8,
              "fixed widths");
static_assert(sizeof(GUID) == 16 && sizeof(FILETIME) == 8, "fixed widths");

// A 16-byte identifier of a provider's entries or of a message service, compared over all its bytes.
struct MAPIUID {
  BYTE ab[16];
};
static_assert(sizeof(MAPIUID) == 16, "MAPIUID");

using BOOKMARK = ULONG_PTR;  // pointer-sized; see IMAPITable::SeekRow

}  // namespace uab
