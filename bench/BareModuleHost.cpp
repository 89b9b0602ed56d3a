// The baseline of a host run: loads the module from its own folder and finds
// its entry exactly as OrvaleHost.exe does, then returns without calling it.
#include <windows.h>

#include "ModuleExport.h"

namespace {
using EntryFn = void (*)(HINSTANCE, HINSTANCE, LPWSTR, int);
}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return FindModuleExport<EntryFn>("Orvale_LoadModule_WinMain") == nullptr ? 2 : 0;
}
