// The only file that knows the option parser. A command runs as soon as its arguments are parsed.
#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "commands.h"
#include "console.h"
#include "failure.h"

namespace host {
namespace {

constexpr const char* kFooter =
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 not found.\n"
    "Entries are named CONTAINER/NAME, as tree and find print them, or by their identifier.";

// The values that options are parsed into; alive until the command has run.
struct Arguments {
  Context context;
  std::string colour = "auto";
  std::string name, target, container;
  std::vector<std::string> names;
  bool none = false, ids = false;
  CreateProfileOptions create;
  AddServiceOptions add;
  ConfigureServiceOptions configure;
  FindOptions find;
  RecipientOptions recipients;
  CopyOptions copy;
  WatchOptions watch;
};

CLI::App* AddCommand(CLI::App* parent, const char* name, const char* description, std::function<void()> run) {
  CLI::App* command = parent->add_subcommand(name, description);
  command->callback(std::move(run));
  return command;
}

void AddProfileCommands(CLI::App& app, Arguments& a) {
  CLI::App* group = app.add_subcommand("profile", "create, list and change profiles")->require_subcommand(1);
  AddCommand(group, "list", "list the profiles", [&a] { ListProfiles(a.context); });
  CLI::App* command = AddCommand(group, "create", "create a profile", [&a] { CreateProfile(a.context, a.create); });
  command->add_option("name", a.create.name, "1 to 64 characters, no backslash")->required();
  command->add_flag("--default-services", a.create.default_services, "with the definition file's default services");
  command->add_flag("--dialog", a.create.dialog, "show the message service dialog");
  command = AddCommand(group, "delete", "delete profiles", [&a] { DeleteProfiles(a.context, a.names); });
  command->add_option("names", a.names, "the profiles")->required();
  command = AddCommand(group, "copy", "copy a profile", [&a] { CopyProfile(a.context, a.name, a.target); });
  command->add_option("source", a.name, "the profile")->required();
  command->add_option("target", a.target, "the copy's name")->required();
  command = AddCommand(group, "rename", "rename a profile", [&a] { RenameProfile(a.context, a.name, a.target); });
  command->add_option("source", a.name, "the profile")->required();
  command->add_option("target", a.target, "the new name")->required();
  command = AddCommand(group, "default", "show or set the default profile",
                       [&a] { DefaultProfile(a.context, a.name, a.none); });
  CLI::Option* name = command->add_option("name", a.name, "the profile that becomes the default");
  command->add_flag("--none", a.none, "no profile is the default")->excludes(name);
  command = AddCommand(group, "configure", "show a profile's message service dialog",
                       [&a] { ConfigureProfile(a.context, a.name); });
  command->add_option("name", a.name, "the profile; the default one if none is given");
}

// A command that works on a profile.
CLI::App* AddProfiled(CLI::App* parent, Arguments& a, const char* name, const char* description,
                      std::function<void()> run) {
  CLI::App* command = AddCommand(parent, name, description, std::move(run));
  command->add_option("-p,--profile", a.context.profile, "the profile; the default one if none is given");
  return command;
}

void AddServiceCommands(CLI::App& app, Arguments& a) {
  CLI::App* group =
      app.add_subcommand("service", "add, list and change a profile's message services")->require_subcommand(1);
  AddProfiled(group, a, "list", "list the services", [&a] { ListServices(a.context); });
  CLI::App* command =
      AddProfiled(group, a, "add", "add a service of the definition file", [&a] { AddService(a.context, a.add); });
  command->add_option("service", a.add.service, "its name in the definition file")->required();
  command->add_option("--name", a.add.name, "display name, if the file has none");
  command->add_option("--text", a.add.text, "creation text for its library: the vCard service takes its folder");
  command = AddProfiled(group, a, "remove", "remove a service", [&a] { RemoveService(a.context, a.name); });
  command->add_option("service", a.name, "its name or identifier")->required();
  command = AddProfiled(group, a, "configure", "have a service's library take settings, or ask for them",
                        [&a] { ConfigureService(a.context, a.configure); });
  command->add_option("service", a.configure.service, "its name or identifier")->required();
  command->add_option("--set", a.configure.assignments, "a property: NAME=VALUE or hexadecimal tag=VALUE");
  command->add_flag("--raw", a.configure.raw, "store the properties as they are, without the service's library");
  command = AddProfiled(group, a, "show", "show a service's settings", [&a] { ShowService(a.context, a.name); });
  command->add_option("service", a.name, "its name or identifier")->required();
}

void AddBookCommands(CLI::App& app, Arguments& a) {
  CLI::App* command =
      AddProfiled(&app, a, "tree", "print the merged hierarchy of all providers", [&a] { ShowTree(a.context, a.ids); });
  command->add_flag("--ids", a.ids, "with the containers' identifiers");
  command = AddProfiled(&app, a, "show", "show all properties of an entry", [&a] { ShowEntry(a.context, a.name); });
  command->add_option("entry", a.name, "CONTAINER/NAME, or an identifier")->required();
  command =
      AddProfiled(&app, a, "find", "find entries by a part of their name", [&a] { FindEntries(a.context, a.find); });
  command->add_option("text", a.find.text, "a part of the name; letter case (A to Z) does not matter")->required();
  command->add_option("--in", a.find.container, "only in this container");
  command->add_option("--most", a.find.most, "stop after this many; 0: all")->capture_default_str();
  command = AddProfiled(&app, a, "copy", "copy entries, and lists with all their members, to a container",
                        [&a] { CopyEntries(a.context, a.copy); });
  command->add_option("entries", a.copy.entries, "CONTAINER/NAME or identifiers")->required();
  command->add_option("--to", a.copy.target, "the container")->required();
  command = AddProfiled(&app, a, "watch", "print changes to an entry or a container as its provider tells them",
                        [&a] { WatchEntry(a.context, a.watch); });
  command->add_option("entry", a.watch.entry, "a container, CONTAINER/NAME or an identifier")->required();
  command->add_option("--seconds", a.watch.seconds, "how long")->capture_default_str();
}

void AddRecipientCommands(CLI::App& app, Arguments& a) {
  CLI::App* expand = AddProfiled(&app, a, "expand", "replace distribution lists by their members, each once",
                                 [&a] { ExpandLists(a.context, a.recipients); });
  CLI::App* prepare = AddProfiled(&app, a, "prepare", "group recipients by provider and complete their properties",
                                  [&a] { PrepareRecipients(a.context, a.recipients); });
  for (CLI::App* command : {expand, prepare}) {
    command->add_option("entries", a.recipients.entries, "CONTAINER/NAME or identifiers, of lists and of users")
        ->required();
    command->add_option("--as", a.recipients.type, "recipient type")
        ->check(CLI::IsMember({"to", "cc", "bcc"}))
        ->capture_default_str();
  }
  prepare->add_option("--property", a.recipients.properties, "properties to complete; the usual ones if none is given");
}

void AddSettingCommands(CLI::App& app, Arguments& a) {
  CLI::App* command =
      AddProfiled(&app, a, "path", "show or set the search path", [&a] { SearchPathSetting(a.context, a.names); });
  command->add_option("containers", a.names, "the containers in search order");
  command = AddProfiled(&app, a, "pab", "show or set the personal address book",
                        [&a] { PersonalBookSetting(a.context, a.container); });
  command->add_option("container", a.container, "a modifiable container");
  command = AddProfiled(&app, a, "directory", "show or set the default directory",
                        [&a] { DefaultDirectorySetting(a.context, a.container); });
  command->add_option("container", a.container, "a container with recipients");
}

}  // namespace

int RunCommandLine(std::vector<std::string> arguments) {
  Arguments a;
  CLI::App app("Profiles, message services and address books of KELUAB.", "keluab");
  app.footer(kFooter);
  app.set_version_flag("--version", "keluab " KELUAB_VERSION);
  app.require_subcommand(1);
  app.fallthrough();  // options of the program also after the command
  app.add_option("--app-key", a.context.app_key, "the application whose profiles are used")->capture_default_str();
  app.add_flag("--json", a.context.output.json, "print JSON");
  app.add_option("--color", a.colour, "auto, always or never")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->capture_default_str();
  app.parse_complete_callback([&a] {  // ahead of the commands
    a.context.output.colour = a.colour == "always" || (a.colour == "auto" && IsTerminal(1));
  });
  AddProfileCommands(app, a);
  AddServiceCommands(app, a);
  AddBookCommands(app, a);
  AddRecipientCommands(app, a);
  AddSettingCommands(app, a);
  try {
    std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // --help, --version
    const std::vector<std::string> unknown = app.remaining(true);
    const bool no_command = error.get_name() == "RequiredError" && !unknown.empty() && unknown[0][0] != '-';
    throw Failure(kExitUsage, (no_command ? "No command '" + unknown[0] + "'" : std::string(error.what())) +
                                  ". See 'keluab --help', or --help behind a command.");
  }
  return kExitOk;
}

}  // namespace host
