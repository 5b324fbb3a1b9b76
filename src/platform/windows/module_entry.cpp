// The loader's call on Windows: attach and detach of the process.
#include "frame/module.h"
#include "platform/win32.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      return uab::ProcessAttach(module) ? TRUE : FALSE;
    case DLL_PROCESS_DETACH:
      uab::ProcessDetach();
      return TRUE;
    default:
      return TRUE;
  }
}
