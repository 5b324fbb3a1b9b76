// keluab profile ...
#include "commands.h"
#include "failure.h"
#include "library.h"
#include "values.h"

namespace host {
using namespace uab;

namespace {

// A profile that is not there can't be read, which is what the library says.
constexpr const char* kCheckSource = "Check that there is such a profile: see 'keluab profile list'.";

}  // namespace

void ListProfiles(Context& context) {
  Library library(context.app_key);
  Com<IMAPITable> table;
  Check(library.OpenProfiles()->GetProfileTable(MAPI_UNICODE, table.Put()), "list the profiles");
  static constexpr TagArray<2> kColumns = {2, {PR_DISPLAY_NAME_W, PR_DEFAULT_PROFILE}};
  Json rows = Json::array();
  ForEachRow(table.get(), kColumns.address(), [&](const SRow& row) {
    rows.push_back({{"name", TextOf(row.lpProps[0], PR_DISPLAY_NAME_W)}, {"default", PropertyValue(row.lpProps[1])}});
    return true;
  });
  context.output.PrintTable({{"name", "NAME"}, {"default", "DEFAULT"}}, rows,
                            "No profiles. Make one with 'keluab profile create NAME'.");
}

void CreateProfile(Context& context, const CreateProfileOptions& options) {
  Library library(context.app_key);
  ULONG flags =
      MAPI_UNICODE | (options.default_services ? MAPI_DEFAULT_SERVICES : 0) | (options.dialog ? MAPI_DIALOG : 0);
  Check(library.OpenProfiles()->CreateProfile(ToWide(options.name).data(), 0, flags),
        "create profile '" + options.name + "'");
  context.output.PrintDone("Created profile '" + options.name + "'.");
}

void DefaultProfile(Context& context, const std::string& name, bool none) {
  Library library(context.app_key);
  if (name.empty() && !none) {
    context.output.PrintObject({{"default", library.DefaultProfile()}});
    return;
  }
  Check(library.OpenProfiles()->SetDefaultProfile(none ? nullptr : ToWide(name).data(), MAPI_UNICODE),
        none ? std::string("clear the default profile") : "make '" + name + "' the default profile");
  context.output.PrintDone(none ? "No profile is the default now." : "Profile '" + name + "' is the default now.");
}

void DeleteProfiles(Context& context, const std::vector<std::string>& names) {
  Library library(context.app_key);
  for (const std::string& name : names) {
    Check(library.OpenProfiles()->DeleteProfile(ToWide(name).data(), MAPI_UNICODE), "delete profile '" + name + "'");
    context.output.PrintDone("Deleted profile '" + name + "'.");
  }
}

void CopyProfile(Context& context, const std::string& source, const std::string& target) {
  Library library(context.app_key);
  HRESULT hr = library.OpenProfiles()->CopyProfile(ToWide(source).data(), ToWide(target).data(), MAPI_UNICODE);
  Check(hr, "copy profile '" + source + "' to '" + target + "'", hr == E_FAIL ? kCheckSource : "");
  context.output.PrintDone("Copied profile '" + source + "' to '" + target + "'.");
}

void RenameProfile(Context& context, const std::string& source, const std::string& target) {
  Library library(context.app_key);
  HRESULT hr = library.OpenProfiles()->RenameProfile(ToWide(source).data(), ToWide(target).data(), MAPI_UNICODE);
  Check(hr, "rename profile '" + source + "' to '" + target + "'", hr == E_FAIL ? kCheckSource : "");
  context.output.PrintDone("Renamed profile '" + source + "' to '" + target + "'.");
}

void ConfigureProfile(Context& context, const std::string& name) {
  Library library(context.app_key);
  std::string profile = name.empty() ? library.DefaultProfile() : name;
  Check(library.OpenProfiles()->ConfigureProfile(ToWide(profile).data(), 0, MAPI_UNICODE),
        "configure profile '" + profile + "'");
  context.output.PrintDone("Configured profile '" + profile + "'.");
}

}  // namespace host
