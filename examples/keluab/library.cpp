#include "library.h"

#include "console.h"
#include "failure.h"
#include "values.h"

namespace host {

using namespace uab;

Com<IProfAdmin> Library::OpenProfiles() {
  Com<IProfAdmin> admin;
  Check(UABAdminProfiles(app_key_.data(), ThisProgram(), MAPI_UNICODE, admin.Put(), 0), "administer profiles");
  return admin;
}

std::string Library::DefaultProfile() {
  Com<IMAPITable> table;
  Check(OpenProfiles()->GetProfileTable(MAPI_UNICODE, table.Put()), "list the profiles");
  static constexpr TagArray<2> kColumns = {2, {PR_DISPLAY_NAME_W, PR_DEFAULT_PROFILE}};
  std::string name;
  ForEachRow(table.get(), kColumns.address(), [&](const SRow& row) {
    if (row.lpProps[1].ulPropTag == PR_DEFAULT_PROFILE && row.lpProps[1].Value.b != 0) {
      name = TextOf(row.lpProps[0], PR_DISPLAY_NAME_W);
    }
    return name.empty();
  });
  if (name.empty())
    throw Failure(
        kExitNotFound,
        "No profile is the default: name one with --profile, or make one with 'keluab profile default NAME'.");
  return name;
}

Com<IMsgServiceAdmin> Library::OpenServices(const std::string& profile) {
  std::string name = profile.empty() ? DefaultProfile() : profile;
  Com<IMsgServiceAdmin> admin;
  Check(OpenProfiles()->AdminServices(ToWide(name).data(), MAPI_UNICODE, admin.Put()),
        "open the services of profile '" + name + "'");
  return admin;
}

Session::Session(Library& library, const std::string& profile) {
  ULONG flags = MAPI_UNICODE | (profile.empty() ? UAB_DEFAULT_PROFILE : 0);
  WideText name = ToWide(profile);
  Check(UABOpen(library.app_key_.data(), ThisProgram(), 0, name.data(), flags, nullptr, nullptr, nullptr, book_.Put(),
                session_.Put(), 0),
        profile.empty() ? std::string("log on to the default profile") : "log on to profile '" + profile + "'");
}

}  // namespace host
