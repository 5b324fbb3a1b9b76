#include "file_io.h"
#include "keluab/base.h"

namespace uab::vcard {
namespace {

bool WriteAll(HANDLE file, std::string_view content) noexcept {
  constexpr std::size_t kMost = 1u << 30;
  while (!content.empty()) {
    DWORD written = 0;
    if (!::WriteFile(file, content.data(), static_cast<DWORD>(std::min(content.size(), kMost)), &written, nullptr) ||
        written == 0) {
      return false;
    }
    content.remove_prefix(written);
  }
  return ::FlushFileBuffers(file) != 0;
}

}  // namespace

FileStamp StampOf(const std::filesystem::path& path) noexcept {
  WIN32_FILE_ATTRIBUTE_DATA info;
  if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &info)) return {};
  const auto join = [](DWORD high, DWORD low) { return (std::uint64_t{high} << 32) | low; };
  return {join(info.nFileSizeHigh, info.nFileSizeLow),
          static_cast<std::int64_t>(join(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime))};
}

bool ReplaceFileContent(const std::filesystem::path& path, std::string_view content) {
  const std::filesystem::path fresh = path.native() + L"." + std::to_wstring(::GetCurrentProcessId()) + L".new";
  const HANDLE file =
      ::CreateFileW(fresh.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  bool good = WriteAll(file, content);
  good = ::CloseHandle(file) != 0 && good;
  good = good && ::MoveFileExW(fresh.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
  if (!good) ::DeleteFileW(fresh.c_str());
  return good;
}

}  // namespace uab::vcard
