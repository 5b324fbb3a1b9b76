// Names of keys and values, and the file names that stand for them. A file name is made of the name's upper case form,
// so that names which differ only in case share one file and a look-up needs no listing; the name as it was given is
// kept in the file. Every UTF-16 name has a file name, at most 210 bytes of plain ASCII that never starts with a dot.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/win32.h"

namespace uab {

inline constexpr std::size_t kMaxKeyName = 255;
inline constexpr std::size_t kMaxValueName = 16383;

bool SameName(std::u16string_view a, std::u16string_view b) noexcept;
bool NameLess(std::u16string_view a, std::u16string_view b) noexcept;  // by upper case, unit by unit

std::string KeyFolderName(std::u16string_view name);
std::string ValueFileName(std::u16string_view name);
// What such a name's file was called when more letters were folded; empty: the same.
std::string FormerKeyFolderName(std::u16string_view name);
std::string FormerValueFileName(std::u16string_view name);

// A name that the folder can stand for, in small letters; empty: a hash does not tell, or none of ours.
std::u16string NameOfKeyFolder(std::string_view file_name);

bool IsValueFileName(std::string_view file_name) noexcept;

// The parts of a relative key path; none for a null or empty one. ERROR_BAD_PATHNAME: it starts with a backslash.
// ERROR_INVALID_PARAMETER: a part is too long for a key name.
LSTATUS SplitKeyPath(const WCHAR* path, std::vector<std::u16string_view>* parts);

}  // namespace uab
