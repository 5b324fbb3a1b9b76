#include "settings.h"
// The shell's headers need the base types first.
#include <shlobj.h>

namespace uab::vcard {

std::filesystem::path DefaultFolder() {
  wchar_t folder[MAX_PATH];
  if (Failed(::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder))) return L"C:\\vCards";
  return std::filesystem::path(folder) / L"KELUAB" / L"vCards";
}

// The dialog opens where the service's folder is.
static int CALLBACK Select(HWND dialog, UINT message, LPARAM, LPARAM folder) {
  if (message == BFFM_INITIALIZED) ::SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE, folder);
  return 0;
}

std::optional<std::filesystem::path> AskForFolder(ULONG_PTR ui, const std::filesystem::path& current) {
  BROWSEINFOW browse{};
  browse.hwndOwner = reinterpret_cast<HWND>(ui);
  browse.lpszTitle = L"Folder with the vCard files";
  browse.ulFlags = BIF_RETURNONLYFSDIRS;
  browse.lpfn = &Select;
  browse.lParam = reinterpret_cast<LPARAM>(current.c_str());
  PIDLIST_ABSOLUTE chosen = ::SHBrowseForFolderW(&browse);
  if (chosen == nullptr) return std::nullopt;
  wchar_t folder[MAX_PATH];
  const bool good = ::SHGetPathFromIDListW(chosen, folder) != 0;
  ::CoTaskMemFree(chosen);
  return good ? std::optional<std::filesystem::path>(folder) : std::nullopt;
}

}  // namespace uab::vcard
