#include "settings.h"

#include <cstring>

#include "folder.h"

namespace uab::vcard {
namespace {

enum Wanted : ULONG { kFolder, kFile, kUid, kServiceUid, kWantedCount };
constexpr TagArray<kWantedCount> kWanted{kWantedCount,
                                         {PR_VCARD_FOLDER_W, UAB_PR_FILE_NAME_W, PR_VCARD_UID, PR_SERVICE_UID}};

std::string Utf8Of(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

// Two services never share one, and it is not the service's own identifier.
MAPIUID Derive(const void* bytes, std::size_t size) {
  const CardKey key = HashKey("vcard" + IdentifierBytes(bytes, size));
  MAPIUID uid;
  for (int i = 0; i < 8; ++i) {
    uid.ab[i] = static_cast<BYTE>(key.first >> (8 * i));
    uid.ab[8 + i] = static_cast<BYTE>(key.second >> (8 * i));
  }
  return uid;
}

void Take(const SPropValue* values, ServiceSettings& settings) {
  const auto has = [&](Wanted which) { return values[which].ulPropTag == kWanted.aulPropTag[which]; };
  if (has(kFolder) && values[kFolder].Value.lpszW) settings.folder = PathFromWide(values[kFolder].Value.lpszW);
  if (has(kFile) && values[kFile].Value.lpszW) {
    const std::string name = Utf8Of(PathFromWide(values[kFile].Value.lpszW).filename());
    if (!name.empty()) settings.default_file = name;
  }
  const SBinary& uid = values[kUid].Value.bin;
  const SBinary& service = values[kServiceUid].Value.bin;
  if (has(kUid) && uid.cb == sizeof(MAPIUID) && uid.lpb) {
    std::memcpy(settings.uid.ab, uid.lpb, sizeof(MAPIUID));
  } else if (has(kServiceUid) && service.lpb) {
    settings.uid = Derive(service.lpb, service.cb);
  }
}

}  // namespace

ServiceSettings ReadSettings(IMAPIProp* section, const Memory& memory) {
  ServiceSettings settings;
  settings.uid = Derive(nullptr, 0);
  ULONG count = 0;
  SPropValue* values = nullptr;
  if (Succeeded(section->GetProps(kWanted.address(), MAPI_UNICODE, &count, &values)) && values != nullptr) {
    const HRESULT hr = Guard([&]() -> HRESULT {
      if (count == kWantedCount) Take(values, settings);
      return S_OK;
    });
    memory.free(values);
    if (Failed(hr)) throw std::bad_alloc();
  }
  if (settings.folder.empty()) settings.folder = DefaultFolder();
  return settings;
}

HRESULT WriteSettings(IMAPIProp* section, const ServiceSettings& settings) {
  WideString folder = PathToWide(settings.folder);
  WideString file = PathToWide(settings.folder) + static_cast<WCHAR>(std::filesystem::path::preferred_separator) +
                    ToWide(settings.default_file);
  // Several services of this kind are told apart by their folders' names.
  const std::filesystem::path name = settings.folder.has_filename() ? settings.folder.filename() : settings.folder;
  WideString display_name = PathToWide(name);
  MAPIUID uid = settings.uid;
  SPropValue values[4]{};
  values[0].ulPropTag = PR_VCARD_FOLDER_W;
  values[0].Value.lpszW = folder.data();
  values[1].ulPropTag = UAB_PR_FILE_NAME_W;
  values[1].Value.lpszW = file.data();
  values[2].ulPropTag = PR_VCARD_UID;
  values[2].Value.bin = {sizeof uid.ab, uid.ab};
  values[3].ulPropTag = PR_DISPLAY_NAME_W;
  values[3].Value.lpszW = display_name.data();
  const HRESULT hr = section->SetProps(4, values, nullptr);
  return Failed(hr) ? hr : section->SaveChanges(KEEP_OPEN_READWRITE);
}

}  // namespace uab::vcard
