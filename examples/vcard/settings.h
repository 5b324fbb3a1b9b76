// What a service keeps in its profile section: the folder, the default address file and the MAPIUID of its entries.
#pragma once

#include <filesystem>
#include <optional>

#include "com.h"
#include "values.h"

namespace uab::vcard {

struct ServiceSettings {
  std::filesystem::path folder;
  std::string default_file = "contacts.vcf";  // UTF-8, a name in that folder
  MAPIUID uid{};
};

// What is missing is the default: the user's own folder, "contacts.vcf", a MAPIUID derived from the service's.
ServiceSettings ReadSettings(IMAPIProp* section, const Memory& memory);

// Stores the settings and saves the section.
HRESULT WriteSettings(IMAPIProp* section, const ServiceSettings& settings);

// From the system; settings_posix.cpp and settings_windows.cpp are twins.
std::filesystem::path DefaultFolder();
// Asks the user for a folder. Nothing: cancelled, or nobody there to ask.
std::optional<std::filesystem::path> AskForFolder(ULONG_PTR ui, const std::filesystem::path& current);

}  // namespace uab::vcard
