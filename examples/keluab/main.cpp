// keluab: the address book runtime from the command line.
#include <exception>
#include <iostream>

#include "command_line.h"
#include "console.h"
#include "failure.h"

int main(int argc, char** argv) {
  try {
    return host::RunCommandLine(host::PrepareConsole(argc, argv));
  } catch (const host::Failure& failure) {
    if (*failure.what() != '\0') std::cerr << "keluab: " << failure.what() << "\n";
    return failure.exit_code;
  } catch (const std::exception& error) {
    std::cerr << "keluab: " << error.what() << "\n";
    return host::kExitFailed;
  }
}
