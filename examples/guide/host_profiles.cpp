// Profiles and their message services: host_profiles add SERVICE [TEXT] | remove
#include <cstdio>
#include <exception>
#include <string>

#include "owners.h"

using namespace uab;
using namespace guide;

namespace {

WCHAR app_key[] = UAB_TEXT("Guide");  // outlives every object that is made with it
WCHAR profile[] = UAB_TEXT("Guide");

void PrintServices(IMsgServiceAdmin& services) {
  static constexpr TagArray<2> kColumns = {2, {PR_SERVICE_NAME_W, PR_SERVICE_DLL_NAME_W}};
  Com<IMAPITable> table;
  Check(services.GetMsgServiceTable(MAPI_UNICODE, table.Put()), "list the services");
  Check(table->SetColumns(kColumns.address(), 0), "choose columns");
  for (Rows rows;;) {  // a few rows at a time; an empty set is the end
    Check(table->QueryRows(10, 0, rows.Put()), "read the services");
    if (rows->cRows == 0) return;
    for (ULONG i = 0; i < rows->cRows; ++i) {
      const SPropValue* values = rows->aRow[i].lpProps;
      std::printf("service %s in %s\n", Text(values[0]).c_str(), Text(values[1]).c_str());
    }
  }
}

void Add(IProfAdmin& admin, const std::string& service, const std::string& text) {
  Check(admin.CreateProfile(profile, 0, MAPI_UNICODE), "create the profile");
  Check(admin.SetDefaultProfile(profile, MAPI_UNICODE), "make it the default");
  Com<IMsgServiceAdmin> services;
  Check(admin.AdminServices(profile, MAPI_UNICODE, services.Put()), "open its services");
  auto name = Wide(service), creation_text = Wide(text);
  Check(services->CreateMsgService(name.data(), name.data(), creation_text.data(), 0, 0, MAPI_UNICODE),
        "add the service");
  PrintServices(*services.get());
}

}  // namespace

int main(int argc, char** argv) try {
  std::string command = argc > 1 ? argv[1] : "";
  Com<IProfAdmin> admin;
  Check(UABAdminProfiles(app_key, nullptr, MAPI_UNICODE, admin.Put(), 0), "administer profiles");
  if (command == "add" && argc > 2) {
    Add(*admin.get(), argv[2], argc > 3 ? argv[3] : "");
  } else if (command == "remove") {
    Check(admin->DeleteProfile(profile, MAPI_UNICODE), "delete the profile");
    std::printf("removed\n");
  } else {
    std::fprintf(stderr, "host_profiles add SERVICE [TEXT] | remove\n");
    return 2;
  }
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "host_profiles: %s\n", failure.what());
  return 1;
}
