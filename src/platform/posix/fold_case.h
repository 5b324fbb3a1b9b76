// Upper case of one UTF-16 code unit: what names are compared by.
#pragma once

namespace uab {

// A letter whose capital has another small letter (the long s, the final sigma) stays as it is.
char16_t FoldCase(char16_t unit) noexcept;

// The same as names of files were once made: such a letter became its capital, too.
char16_t FormerFoldCase(char16_t unit) noexcept;

}  // namespace uab
