// Upper case of one UTF-16 code unit: what names are compared by.
#pragma once

namespace uab {

char16_t FoldCase(char16_t unit) noexcept;

}  // namespace uab
