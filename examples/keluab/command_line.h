// The command line: which commands and options there are.
#pragma once

#include <string>
#include <vector>

namespace host {

// Parses the arguments and runs the command; returns the exit code. Throws a Failure of the command.
int RunCommandLine(std::vector<std::string> arguments);

}  // namespace host
