// keluab profile ...
#include <memory>

#include "commands.h"
#include "failure.h"
#include "values.h"

namespace host {
namespace {

using namespace uab;

void List(Context& context) {
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

struct CreateOptions {
  std::string name;
  bool default_services = false;
  bool dialog = false;
};

void Create(Context& context, const CreateOptions& options) {
  Library library(context.app_key);
  ULONG flags =
      MAPI_UNICODE | (options.default_services ? MAPI_DEFAULT_SERVICES : 0) | (options.dialog ? MAPI_DIALOG : 0);
  Check(library.OpenProfiles()->CreateProfile(ToWide(options.name).data(), 0, flags),
        "create profile '" + options.name + "'");
  context.output.PrintDone("Created profile '" + options.name + "'.");
}

void Default(Context& context, const std::string& name, bool none) {
  Library library(context.app_key);
  if (name.empty() && !none) {
    context.output.PrintObject({{"default", library.DefaultProfile()}});
    return;
  }
  Check(library.OpenProfiles()->SetDefaultProfile(none ? nullptr : ToWide(name).data(), MAPI_UNICODE),
        none ? std::string("clear the default profile") : "make '" + name + "' the default profile");
  context.output.PrintDone(none ? "No profile is the default now." : "Profile '" + name + "' is the default now.");
}

}  // namespace

void AddProfileCommands(CLI::App& app, Context& context) {
  CLI::App* group = app.add_subcommand("profile", "create, list and change profiles")->require_subcommand(1);

  group->add_subcommand("list", "list the profiles")->callback([&context] { List(context); });

  auto create = std::make_shared<CreateOptions>();
  CLI::App* command = group->add_subcommand("create", "create a profile");
  command->add_option("name", create->name, "1 to 64 characters, no backslash")->required();
  command->add_flag("--default-services", create->default_services, "with the definition file's default services");
  command->add_flag("--dialog", create->dialog, "show the message service dialog");
  command->callback([&context, create] { Create(context, *create); });

  auto names = std::make_shared<std::vector<std::string>>();
  command = group->add_subcommand("delete", "delete profiles");
  command->add_option("names", *names, "the profiles")->required();
  command->callback([&context, names] {
    Library library(context.app_key);
    for (const std::string& name : *names) {
      Check(library.OpenProfiles()->DeleteProfile(ToWide(name).data(), MAPI_UNICODE), "delete profile '" + name + "'");
      context.output.PrintDone("Deleted profile '" + name + "'.");
    }
  });

  for (bool rename : {false, true}) {
    auto source = std::make_shared<std::string>(), target = std::make_shared<std::string>();
    std::string verb = rename ? "rename" : "copy";
    command = group->add_subcommand(verb, verb + " a profile");
    command->add_option("source", *source, "the profile")->required();
    command->add_option("target", *target, "the new name")->required();
    command->callback([&context, source, target, rename, verb] {
      Library library(context.app_key);
      Com<IProfAdmin> admin = library.OpenProfiles();
      WideText from = ToWide(*source), to = ToWide(*target);
      HRESULT hr = rename ? admin->RenameProfile(from.data(), to.data(), MAPI_UNICODE)
                          : admin->CopyProfile(from.data(), to.data(), MAPI_UNICODE);
      Check(hr, verb + " profile '" + *source + "' to '" + *target + "'");
      context.output.PrintDone((rename ? "Renamed '" : "Copied '") + *source + "' to '" + *target + "'.");
    });
  }

  auto name = std::make_shared<std::string>();
  auto none = std::make_shared<bool>(false);
  command = group->add_subcommand("default", "show or set the default profile");
  CLI::Option* option = command->add_option("name", *name, "the profile that becomes the default");
  command->add_flag("--none", *none, "no profile is the default")->excludes(option);
  command->callback([&context, name, none] { Default(context, *name, *none); });

  auto configured = std::make_shared<std::string>();
  command = group->add_subcommand("configure", "show a profile's message service dialog");
  command->add_option("name", *configured, "the profile; the default one if none is given");
  command->callback([&context, configured] {
    Library library(context.app_key);
    std::string profile = configured->empty() ? library.DefaultProfile() : *configured;
    Check(library.OpenProfiles()->ConfigureProfile(ToWide(profile).data(), 0, MAPI_UNICODE),
          "configure profile '" + profile + "'");
    context.output.PrintDone("Configured profile '" + profile + "'.");
  });
}

}  // namespace host
