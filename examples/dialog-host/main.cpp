// dialog-host [APP-KEY [PROFILE]]: opens the profile (the default one if none is named) and shows its address books.
#include "library.h"
#include "main_window.h"
#include "text.h"

#include <commctrl.h>
#include <shellapi.h>

#include <exception>
#include <string>
#include <vector>

int WINAPI wWinMain(HINSTANCE module, HINSTANCE, PWSTR, int show) {
  int count = 0;
  PWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(host::ToUtf8(wide[i]));
  LocalFree(wide);

  INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
  InitCommonControlsEx(&controls);
  try {
    host::Library library(arguments.empty() ? "keluab" : arguments[0]);
    host::MainWindow window(module, library, arguments.size() > 1 ? arguments[1] : "");
    return window.Run(show);
  } catch (const std::exception& error) {
    MessageBoxW(nullptr, host::ToWide(error.what()).c_str(), L"Address Books", MB_ICONERROR);
    return 1;
  }
}
