// The lines of a card: [group.]NAME[;parameters]:value, folded over several lines of the file. One reader, one thread.
#pragma once

#include <string>
#include <string_view>

namespace uab::vcard {

// One property. The views borrow from the card's text or, for a folded line, from the reader: until its next call.
struct CardLine {
  std::string_view raw;     // as it stands in the file, line ends included
  std::string_view group;   // "item1" of item1.TEL; may be empty
  std::string_view name;    // empty: not a property (no colon, no name)
  std::string_view params;  // ";TYPE=WORK,FAX"; may be empty
  std::string_view value;   // unfolded, still encoded and escaped
};

// Reads the logical lines of a text, each byte of which belongs to exactly one raw view.
class LineReader {
 public:
  explicit LineReader(std::string_view text) noexcept : text_(text) {}
  bool Next(CardLine& line);  // false at the end

 private:
  std::string_view TakePhysicalLine() noexcept;
  std::string_view text_;
  std::size_t pos_ = 0;
  std::string unfolded_;
};

// A parameter's value, unquoted; the first of that name. Empty: none.
std::string_view FindParam(std::string_view params, std::string_view name) noexcept;

// Calls visit(name, value) for each parameter; a bare one, as in TEL;FAX, has an empty name.
template <typename Visit>
void ForEachParam(std::string_view params, Visit&& visit) {
  for (std::size_t pos = 0; pos < params.size();) {
    std::size_t end = pos + 1;  // behind the semicolon
    for (bool quoted = false; end < params.size() && (quoted || params[end] != ';'); ++end) {
      if (params[end] == '"') quoted = !quoted;
    }
    const std::string_view param = params.substr(pos + 1, end - pos - 1);
    const std::size_t equals = param.find('=');
    if (equals == std::string_view::npos) {
      visit(std::string_view(), param);
    } else {
      visit(param.substr(0, equals), param.substr(equals + 1));
    }
    pos = end;
  }
}

// Whether the parameters give that type: TYPE=a,b; TYPE="a,b"; or bare.
bool HasType(std::string_view params, std::string_view type) noexcept;
bool IsQuotedPrintable(std::string_view params) noexcept;

// The value as UTF-8, out of quoted-printable and its character set; escapes stay.
std::string DecodeValue(const CardLine& line);

// Resolves \n, \, \; and \\ ; anything else behind a backslash stays with it.
std::string Unescape(std::string_view value);

// The value's components between semicolons that are not escaped, each unescaped.
std::string Component(std::string_view value, std::size_t index);

}  // namespace uab::vcard
