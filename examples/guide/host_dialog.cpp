// Shows the message service dialog of the profile that host_profiles made.
#include <cstdio>
#include <exception>

#include "owners.h"

using namespace uab;
using namespace guide;

int main() try {
  static WCHAR app_key[] = UAB_TEXT("Guide");
  WCHAR profile[] = UAB_TEXT("Guide");
  Com<IProfAdmin> admin;
  // The null module is the program itself: that is where the dialog template is looked up.
  Check(UABAdminProfiles(app_key, nullptr, MAPI_UNICODE, admin.Put(), 0), "administer profiles");
  HRESULT hr = admin->ConfigureProfile(profile, 0, MAPI_UNICODE);
  if (hr != MAPI_E_USER_CANCEL) Check(hr, "show the dialog");
  std::printf("%s\n", hr == MAPI_E_USER_CANCEL ? "cancelled" : "changed");
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "host_dialog: %s\n", failure.what());
  return 1;
}
