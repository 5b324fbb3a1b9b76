// The service's own part in being added to a profile and configured.
#include "folder.h"
#include "provider.h"
#include "settings.h"

namespace uab::vcard {
namespace {

HRESULT GetMemory(IUABSupport* support, Memory& memory) {
  return support->GetMemAllocRoutines(&memory.allocate, &memory.allocate_more, &memory.free);
}

// A folder that is not there is a slip of the keyboard, not an empty address book.
HRESULT UseFolder(IMAPIProp* section, ServiceSettings settings, const std::filesystem::path& folder) {
  std::error_code error;
  settings.folder = std::filesystem::absolute(folder, error);
  if (folder.empty() || error) return E_INVALIDARG;
  if (!std::filesystem::is_directory(settings.folder, error)) return MAPI_E_NOT_FOUND;
  return WriteSettings(section, settings);
}

HRESULT Configure(IMAPIProp* section, ServiceSettings settings, ULONG_PTR ui, ULONG flags, ULONG count,
                  const SPropValue* values) {
  std::optional<std::filesystem::path> folder;
  for (ULONG i = 0; i < count && values != nullptr; ++i) {
    if (values[i].ulPropTag == PR_VCARD_FOLDER_W) folder = PathFromWide(values[i].Value.lpszW);
    if (values[i].ulPropTag == UAB_PR_FILE_NAME_W) {
      const std::filesystem::path file = PathFromWide(values[i].Value.lpszW);
      const std::u8string name = file.filename().u8string();
      if (name.empty()) return E_INVALIDARG;
      settings.default_file.assign(name.begin(), name.end());
      if (file.has_parent_path() && !folder) folder = file.parent_path();
      if (!folder) folder = settings.folder;
    }
  }
  if (!folder) {
    if ((flags & (SERVICE_UI_ALWAYS | SERVICE_UI_ALLOWED)) == 0) return E_INVALIDARG;
    folder = AskForFolder(ui, settings.folder);
    if (!folder) return MAPI_E_USER_CANCEL;
  }
  return UseFolder(section, std::move(settings), *folder);
}

HRESULT ServiceEntry(ULONG_PTR ui, ULONG flags, ULONG context, ULONG count, const SPropValue* values,
                     IMAPIProp* section, const Memory& memory) {
  ServiceSettings settings = ReadSettings(section, memory);
  switch (context) {
    case MSG_SERVICE_CREATE:
      return WriteSettings(section, settings);
    case MSG_SERVICE_CREATE_TEXT:
      if (count != 1 || values == nullptr) return E_INVALIDARG;
      return UseFolder(section, std::move(settings), PathFromWide(values[0].Value.lpszW));
    case MSG_SERVICE_CONFIGURE:
      return Configure(section, std::move(settings), ui, flags, count, values);
    default:
      return MAPI_E_NO_SUPPORT;
  }
}

}  // namespace
}  // namespace uab::vcard

extern "C" uab::HRESULT UAB_CALL VCardServiceEntry(uab::HINSTANCE, uab::ULONG_PTR ui, uab::ULONG flags,
                                                   uab::ULONG context, uab::ULONG count, uab::SPropValue* values,
                                                   uab::IMAPIProp* section, uab::IUABSupport* support, uab::ULONG_PTR) {
  using namespace uab;
  using namespace uab::vcard;
  if (section == nullptr || support == nullptr) return E_INVALIDARG;
  return Guard([&]() -> HRESULT {
    Memory memory;
    if (const HRESULT hr = GetMemory(support, memory); Failed(hr)) return hr;
    return ServiceEntry(ui, flags, context, count, values, section, memory);
  });
}
