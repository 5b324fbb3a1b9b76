// The few things about the console that differ between systems.
#pragma once

#include <string>
#include <vector>

#include "keluab/base.h"

namespace host {

// Makes the console take and show UTF-8; returns the program's arguments as UTF-8.
std::vector<std::string> PrepareConsole(int argc, char** argv);

bool IsTerminal(int descriptor);  // 1: output, 2: errors

// This program's module: where the library looks for the dialog template.
uab::HINSTANCE ThisProgram();

}  // namespace host
