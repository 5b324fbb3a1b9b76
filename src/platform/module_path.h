// Where this module lies, and paths made from it. Paths are terminated UTF-16 of at most 260 characters, terminator
// included; longer ones do not exist here.
#pragma once

#include <cstddef>

#include "platform/win32.h"

namespace uab {

inline constexpr std::size_t kPathChars = 260;  // with the terminator
using PathBuffer = WCHAR[kPathChars];

// Behind the last separator of a path ("\" on Windows, "/" elsewhere): where its file name begins. The path itself when
// it has none.
WCHAR* FileNameOf(WCHAR* path) noexcept;

// Stores a module's full path. False when it can't be obtained or does not fit; the path is then empty.
bool ReadModulePath(HMODULE module, PathBuffer& path) noexcept;

// Stores the path of a file in a module's folder. The name is appended as it is. One that does not fit (or null) is
// left out, so that the path ends at the separator and names no file. False as above.
bool PathBesideModule(HMODULE module, const WCHAR* name, PathBuffer& path) noexcept;

// Stores a module's full path with another extension (".ini" with its dot), or with one if it has none. False as above.
bool ModulePathWithExtension(HMODULE module, const WCHAR* extension, PathBuffer& path) noexcept;

}  // namespace uab
