#include "platform/module_path.h"

#include <algorithm>

#include "platform/system_calls.h"
#include "platform/text_length.h"

namespace uab {
namespace {

#if defined(_WIN32)
constexpr WCHAR kSeparator = L'\\';
#else
constexpr WCHAR kSeparator = u'/';
#endif

// Writes a text and its terminator at a place in path; false, path ended there, when they do not fit.
bool PutAt(WCHAR* place, const WCHAR* text, PathBuffer& path) noexcept {
  std::size_t length = TextLength(text);
  *place = 0;
  if (length >= static_cast<std::size_t>(path + kPathChars - place)) return false;
  std::copy_n(text, length, place);
  place[length] = 0;
  return true;
}

}  // namespace

WCHAR* FileNameOf(WCHAR* path) noexcept {
  WCHAR* end = path + TextLength(path);
  while (end != path && end[-1] != kSeparator) --end;
  return end;
}

bool ReadModulePath(HMODULE module, PathBuffer& path) noexcept {
  DWORD length = Sys().get_module_file_name(module, path, kPathChars);
  bool whole = length > 0 && length < kPathChars;
  path[whole ? length : 0] = 0;
  return whole;
}

bool PathBesideModule(HMODULE module, const WCHAR* name, PathBuffer& path) noexcept {
  if (!ReadModulePath(module, path)) return false;
  PutAt(FileNameOf(path), name, path);
  return true;
}

bool ModulePathWithExtension(HMODULE module, const WCHAR* extension, PathBuffer& path) noexcept {
  if (!ReadModulePath(module, path)) return false;
  WCHAR* name = FileNameOf(path);
  WCHAR* end = name + TextLength(name);
  WCHAR* dot = end;
  while (dot != name && *dot != UAB_TEXT('.')) --dot;
  if (PutAt(*dot == UAB_TEXT('.') ? dot : end, extension, path)) return true;
  path[0] = 0;
  return false;
}

}  // namespace uab
