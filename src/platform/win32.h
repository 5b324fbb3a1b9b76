// The only door to the system. On Windows it is <windows.h> and COM; elsewhere it declares exactly the functions and
// types that the library calls, with Windows' names, results and last errors, and src/platform/posix/ supplies them.
//
// To supply a new system: define every function below. Each one's contract is what the library relies on.
#pragma once

#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/iids.h"

#if defined(_WIN32)

#include <objbase.h>

#else

#include <pthread.h>

namespace uab {

using UINT = std::uint32_t;
using LSTATUS = LONG;  // a Windows error number, 0 for success
using REGSAM = DWORD;
using INT_PTR = std::intptr_t;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;
using HKEY = struct RegistryKeyHandle*;
using FARPROC = INT_PTR (*)();
struct SECURITY_ATTRIBUTES;

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_SEM_TIMEOUT = 121;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_BAD_PATHNAME = 161;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_KEY_DELETED = 1018;
inline constexpr DWORD ERROR_WRITE_FAULT = 29;
inline constexpr DWORD MAX_PATH = 260;

// ---- Registry: the current user's hive -----------------------------------------------------------------------------
// Key paths are relative, their parts separated by backslashes. Key names hold at most 255 characters, value names
// 16,383; both compare without regard to case. Every call is atomic between threads and between processes. Results are
// Windows' error numbers.

inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001u));
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

// Opens a key, making it and the keys above it as needed. disposition may be null.
LSTATUS RegCreateKeyExW(HKEY key, const WCHAR* path, DWORD reserved, WCHAR* class_name, DWORD options, REGSAM access,
                        SECURITY_ATTRIBUTES* security, HKEY* result, DWORD* disposition);
// ERROR_FILE_NOT_FOUND: no such key.
LSTATUS RegOpenKeyExW(HKEY key, const WCHAR* path, DWORD options, REGSAM access, HKEY* result);
// Subkeys in name order. class_name, class_chars and last_write: null. *name_chars: in the capacity with the
// terminator, out the length without it. ERROR_NO_MORE_ITEMS: index at or behind the end. ERROR_MORE_DATA: the name
// does not fit.
LSTATUS RegEnumKeyExW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved, WCHAR* class_name,
                      DWORD* class_chars, FILETIME* last_write);
// Values, in an order that stays the same between two changes. Counts as in RegEnumKeyExW; type, data and size may be
// null.
LSTATUS RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* size);
// *size: in the capacity of data in bytes, out the value's size. With null data only the size is stored.
// ERROR_FILE_NOT_FOUND: no such value. ERROR_MORE_DATA: it does not fit.
LSTATUS RegQueryValueExW(HKEY key, const WCHAR* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
LSTATUS RegSetValueExW(HKEY key, const WCHAR* name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
// REQUIRES: path names a key below. ERROR_ACCESS_DENIED: it has subkeys. Open handles of a deleted key answer
// ERROR_KEY_DELETED.
LSTATUS RegDeleteKeyW(HKEY key, const WCHAR* path);
LSTATUS RegDeleteValueW(HKEY key, const WCHAR* name);
LSTATUS RegCloseKey(HKEY key);

// ---- Last error: one per thread ------------------------------------------------------------------------------------
void SetLastError(DWORD error);
DWORD GetLastError();

// ---- Time ----------------------------------------------------------------------------------------------------------
std::uint64_t GetTickCount64();  // in milliseconds, since some moment; never set back

// ---- Private-profile files -----------------------------------------------------------------------------------------
// Stores the section's lines, each with its terminator, and an empty one behind the last; returns the characters stored
// without the final terminator. Lines keep their text; leading and trailing blanks and comment lines (";") are dropped.
// A section that does not fit is cut and the result is size - 2. Files: UTF-16 (with mark), UTF-8. The last error is
// ERROR_FILE_NOT_FOUND for a missing file.
DWORD GetPrivateProfileSectionW(const WCHAR* section, WCHAR* buffer, DWORD size, const WCHAR* file);

// ---- Libraries -----------------------------------------------------------------------------------------------------
// Full path of a module; returns its length, or size (and ERROR_INSUFFICIENT_BUFFER) when it was cut, or 0 on failure.
DWORD GetModuleFileNameW(HMODULE module, WCHAR* path, DWORD size);
HMODULE LoadLibraryW(const WCHAR* path);  // null: it can't be loaded
FARPROC GetProcAddress(HMODULE module, const char* name);
BOOL FreeLibrary(HMODULE module);

// ---- COM -----------------------------------------------------------------------------------------------------------
struct IMalloc : IUnknown {
  virtual void* Alloc(std::size_t size) = 0;
  virtual void* Realloc(void* block, std::size_t size) = 0;
  virtual void Free(void* block) = 0;
  virtual std::size_t GetSize(void* block) = 0;
  virtual int DidAlloc(void* block) = 0;
  virtual void HeapMinimize() = 0;
};
// The process's allocator; safe from any thread. context 1.
HRESULT CoGetMalloc(DWORD context, IMalloc** allocator);
// A random GUID.
HRESULT CoCreateGuid(GUID* guid);

// ---- Critical sections: the same thread may enter again -------------------------------------------------------------
struct CRITICAL_SECTION {
  pthread_mutex_t mutex;
};
void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);

// ---- Text ----------------------------------------------------------------------------------------------------------
inline constexpr UINT CP_ACP = 0;  // UTF-8 here

int lstrlenW(const WCHAR* text);                // 0 for null
int lstrlenA(const char* text);                 // 0 for null
int lstrcmpW(const WCHAR* a, const WCHAR* b);   // 0: equal
int lstrcmpiW(const WCHAR* a, const WCHAR* b);  // 0: equal but for letter case
// code_page CP_ACP, flags 0, text_chars -1 (terminated) or a length. With size 0 returns the size needed. 0: failure.
int WideCharToMultiByte(UINT code_page, DWORD flags, const WCHAR* text, int text_chars, char* out, int size,
                        const char* default_char, BOOL* used_default);
int MulDiv(int number, int numerator, int denominator);  // rounded to nearest; -1 for a denominator of 0

// ---- Dialogs -------------------------------------------------------------------------------------------------------
using DLGPROC = INT_PTR (*)(HWND, UINT, WPARAM, LPARAM);
struct RECT {
  LONG left, top, right, bottom;
};

inline constexpr UINT WM_DESTROY = 0x0002;
inline constexpr UINT WM_CONTEXTMENU = 0x007B;
inline constexpr UINT WM_INITDIALOG = 0x0110;
inline constexpr UINT WM_COMMAND = 0x0111;
inline constexpr UINT BM_SETSTYLE = 0x00F4;
inline constexpr LONG BS_PUSHBUTTON = 0;
inline constexpr LONG BS_DEFPUSHBUTTON = 1;
inline constexpr UINT LB_ADDSTRING = 0x0180;
inline constexpr UINT LB_DELETESTRING = 0x0182;
inline constexpr UINT LB_SETCURSEL = 0x0186;
inline constexpr UINT LB_GETCURSEL = 0x0188;
inline constexpr UINT LB_GETTEXT = 0x0189;
inline constexpr UINT LB_GETTEXTLEN = 0x018A;
inline constexpr UINT LB_GETCOUNT = 0x018B;
inline constexpr UINT LB_GETITEMDATA = 0x0199;
inline constexpr UINT LB_SETITEMDATA = 0x019A;
inline constexpr LRESULT LB_ERR = -1;
inline constexpr LRESULT LB_ERRSPACE = -2;
inline constexpr WORD LBN_SELCHANGE = 1;
inline constexpr WORD LBN_DBLCLK = 2;
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int GWLP_USERDATA = -21;
inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;
constexpr WORD LOWORD(ULONG_PTR value) noexcept { return static_cast<WORD>(value & 0xFFFFu); }
constexpr WORD HIWORD(ULONG_PTR value) noexcept { return static_cast<WORD>((value >> 16) & 0xFFFFu); }
constexpr WPARAM MAKEWPARAM(WORD low, WORD high) noexcept {
  return static_cast<WPARAM>(low) | (static_cast<WPARAM>(high) << 16);
}
// A resource identifier in place of a name.
inline const WCHAR* MAKEINTRESOURCEW(WORD id) noexcept {
  return reinterpret_cast<const WCHAR*>(static_cast<ULONG_PTR>(id));
}

// Shows the template of the module as a modal dialog and returns what EndDialog was given; -1 when there is no such
// template. Sends WM_INITDIALOG with the parameter, WM_COMMAND for what the user does, and WM_DESTROY at the end.
INT_PTR DialogBoxParamW(HINSTANCE module, const WCHAR* dialog_template, HWND parent, DLGPROC procedure,
                        LPARAM parameter);
BOOL EndDialog(HWND dialog, INT_PTR result);
LRESULT SendDlgItemMessageW(HWND dialog, int control, UINT message, WPARAM wparam, LPARAM lparam);
HWND GetDlgItem(HWND dialog, int control);
BOOL EnableWindow(HWND window, BOOL enable);  // returns whether it was disabled
HWND GetFocus();
HWND SetFocus(HWND window);
HWND GetDesktopWindow();
BOOL GetWindowRect(HWND window, RECT* rect);
BOOL MoveWindow(HWND window, int x, int y, int width, int height, BOOL repaint);
LONG_PTR GetWindowLongPtrW(HWND window, int index);
LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value);

}  // namespace uab

#endif
