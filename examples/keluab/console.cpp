#include "console.h"

#if defined(_WIN32)
#include <io.h>
#include <shellapi.h>

#include "text.h"
#else
#include <unistd.h>
#endif

namespace host {

#if defined(_WIN32)

std::vector<std::string> PrepareConsole(int, char**) {
  SetConsoleOutputCP(CP_UTF8);
  SetConsoleCP(CP_UTF8);
  int count = 0;
  LPWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(ToUtf8(wide[i]));
  LocalFree(wide);
  return arguments;
}

bool IsTerminal(int descriptor) { return _isatty(descriptor) != 0; }
uab::HINSTANCE ThisProgram() { return GetModuleHandleW(nullptr); }

#else

std::vector<std::string> PrepareConsole(int argc, char** argv) { return {argv + 1, argv + argc}; }
bool IsTerminal(int descriptor) { return isatty(descriptor) != 0; }
uab::HINSTANCE ThisProgram() { return nullptr; }  // the program itself

#endif

}  // namespace host
