// Private-profile files. The file is read anew for each call, as far as the end of the section or of the buffer.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/posix/fold_case.h"
#include "platform/posix/file.h"
#include "platform/posix/utf.h"
#include "platform/win32.h"

namespace uab {
namespace {

DWORD ReadFile(const WCHAR* path, std::string* content) {
  UniqueFd file(open(PathFromUtf16(path).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat info;
  if (!file || fstat(file.Get(), &info) != 0) return ErrorFromErrno(errno);
  if (!S_ISREG(info.st_mode)) return ERROR_ACCESS_DENIED;
  content->resize(static_cast<std::size_t>(info.st_size));
  ssize_t got = ReadAt(file.Get(), content->data(), content->size(), 0);
  if (got < 0) return ErrorFromErrno(errno);
  content->resize(static_cast<std::size_t>(got));
  return ERROR_SUCCESS;
}

// A terminator inside the file would end the list of lines, so it ends a line instead.
template <typename Unit>
bool IsLineEnd(Unit unit) {
  return unit == '\n' || unit == '\r' || unit == 0;
}

// Blanks and the other control characters.
bool IsBlank(char unit) { return static_cast<unsigned char>(unit) <= 0x20; }
bool IsBlank(char16_t unit) { return unit <= 0x20; }

template <typename View>
View Trim(View text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::u16string Decode(std::string_view line) { return ToUtf16(line); }
std::u16string Decode(std::u16string_view line) { return std::u16string(line); }

// Takes the next line off the text, trimmed; an empty view for an empty line.
template <typename View>
View TakeLine(View* text) {
  auto end = std::find_if(text->begin(), text->end(), [](auto unit) { return IsLineEnd(unit); });
  auto length = static_cast<std::size_t>(end - text->begin());
  View line = text->substr(0, length);
  text->remove_prefix(std::min(length + 1, text->size()));
  return Trim(line);
}

// Whether the line is "[...]", with anything behind it; *name is what the brackets hold, trimmed.
template <typename View>
bool IsHeader(View line, View* name) {
  if (line.empty() || line.front() != '[') return false;
  std::size_t end = line.rfind(']');
  if (end == View::npos) return false;
  *name = Trim(line.substr(1, end - 1));
  return true;
}

// The caller's buffer as a list of lines, each with its terminator and an empty one behind the last.
class LineBuffer {
 public:
  LineBuffer(WCHAR* buffer, DWORD size) : buffer_(buffer), size_(size) {}  // REQUIRES: size at least 2
  // False: cut, the buffer is full.
  bool Append(std::u16string_view line) {
    std::size_t room = size_ - used_;
    cut_ = line.size() + 2 > room;
    std::size_t copied = !cut_ ? line.size() : room > 2 ? room - 2 : 0;
    std::copy_n(line.data(), copied, buffer_ + used_);
    used_ += static_cast<DWORD>(copied);
    if (!cut_) buffer_[used_++] = 0;
    return !cut_;
  }
  // Returns the characters stored.
  DWORD Finish() {
    if (cut_) used_ = size_ - 2;
    buffer_[used_] = 0;
    if (cut_ || used_ == 0) buffer_[used_ + 1] = 0;
    return used_;
  }

 private:
  WCHAR* buffer_;
  DWORD size_;
  DWORD used_ = 0;
  bool cut_ = false;
};

// The first section of that name counts.
template <typename View>
void CollectSection(View text, const WCHAR* section, LineBuffer* out) {
  View name;
  bool found = false;
  while (!text.empty()) {
    View line = TakeLine(&text);
    if (IsHeader(line, &name)) {
      if (found) return;
      found = lstrcmpiW(Decode(name).c_str(), section) == 0;
    } else if (found && !line.empty() && line.front() != ';') {
      if (!out->Append(Decode(line))) return;
    }
  }
}

std::u16string DecodeUtf16(std::string_view bytes, bool big_endian) {
  std::u16string text(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto first = static_cast<unsigned char>(bytes[2 * i]);
    auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
    text[i] = static_cast<char16_t>(big_endian ? first << 8 | second : second << 8 | first);
  }
  return text;
}

}  // namespace

DWORD GetPrivateProfileSectionW(const WCHAR* section, WCHAR* buffer, DWORD size, const WCHAR* file) {
  if (section == nullptr || buffer == nullptr || file == nullptr || size < 2) {
    if (buffer != nullptr && size > 0) buffer[0] = 0;
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  LineBuffer out(buffer, size);
  try {
    std::string content;
    if (DWORD error = ReadFile(file, &content); error != ERROR_SUCCESS) {
      SetLastError(error);
      return out.Finish();
    }
    std::string_view bytes(content);
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
      std::u16string text = DecodeUtf16(bytes.substr(2), bytes[0] == '\xFE');
      CollectSection(std::u16string_view(text), section, &out);
    } else {
      if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
      CollectSection(bytes, section, &out);
    }
    return out.Finish();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return LineBuffer(buffer, size).Finish();
  }
}

}  // namespace uab
