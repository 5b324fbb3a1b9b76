// The program's commands. Each function adds its commands to the command line; a command runs when the line is parsed.
#pragma once

#include <CLI/CLI.hpp>

#include "library.h"
#include "output.h"

namespace host {

// What every command works with: filled by the options in front of the command.
struct Context {
  std::string app_key = "keluab";
  std::string profile;
  Output output;
};

void AddProfileCommands(CLI::App& app, Context& context);
void AddServiceCommands(CLI::App& app, Context& context);
void AddBrowseCommands(CLI::App& app, Context& context);
void AddRecipientCommands(CLI::App& app, Context& context);
void AddCopyCommand(CLI::App& app, Context& context);
void AddSettingCommands(CLI::App& app, Context& context);
void AddWatchCommand(CLI::App& app, Context& context);

// The option that most commands have.
inline void AddProfileOption(CLI::App* command, Context& context) {
  command->add_option("-p,--profile", context.profile, "the profile; the default one if none is given");
}

}  // namespace host
