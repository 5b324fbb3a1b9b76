// Writing one line of a card: escaped or quoted-printable as its version has it, and folded. Values are UTF-8.
// Stateless.
#pragma once

#include <string>
#include <string_view>

#include "card_lines.h"
#include "card_reader.h"

namespace uab::vcard {

std::string_view Ending(CardStyle style) noexcept;

// For versions 3.0 and 4.0, and the components of a structured value. A line holds no carriage return and no NUL.
std::string Escape(std::string_view text);

// head is name and parameters; structured values come with their separators, and are escaped by the caller.
std::string MakeLine(std::string_view head, std::string_view value, CardStyle style, bool escaped = false);

// Group, name and parameters of a line that gets another text: without those that tell how the old one was coded.
std::string KeptHead(const CardLine& line);

}  // namespace uab::vcard
