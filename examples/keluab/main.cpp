// keluab: the address book runtime from the command line.
#include <algorithm>
#include <iostream>

#include "commands.h"
#include "console.h"
#include "failure.h"

namespace {

constexpr const char* kFooter =
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 not found.\n"
    "Entries are named CONTAINER/NAME, as tree and find print them, or by their identifier.";

int Run(std::vector<std::string> arguments) {
  host::Context context;
  CLI::App app("Profiles, message services and address books of KELUAB.", "keluab");
  app.footer(kFooter);
  app.set_version_flag("--version", "keluab " KELUAB_VERSION);
  app.require_subcommand(1);
  app.add_option("--app-key", context.app_key, "the application whose profiles are used")->capture_default_str();
  app.add_flag("--json", context.output.json, "print JSON");
  std::string colour = "auto";
  app.add_option("--color", colour, "auto, always or never")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->capture_default_str();
  // Ahead of the commands, which run as soon as they are parsed.
  app.parse_complete_callback(
      [&] { context.output.colour = colour == "always" || (colour == "auto" && host::IsTerminal(1)); });
  host::AddProfileCommands(app, context);
  host::AddServiceCommands(app, context);
  host::AddBrowseCommands(app, context);
  host::AddRecipientCommands(app, context);
  host::AddCopyCommand(app, context);
  host::AddSettingCommands(app, context);
  try {
    std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    int code = app.exit(error);
    return code == 0 ? host::kExitOk : host::kExitUsage;
  } catch (const host::Failure& failure) {
    if (*failure.what() != '\0') std::cerr << "keluab: " << failure.what() << "\n";
    return failure.exit_code;
  }
  return host::kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(host::PrepareConsole(argc, argv));
  } catch (const std::exception& error) {
    std::cerr << "keluab: " << error.what() << "\n";
    return host::kExitFailed;
  }
}
