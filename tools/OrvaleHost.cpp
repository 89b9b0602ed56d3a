// Stand-alone host: loads the module from its own folder and runs its entry
// once with this process's loader arguments, as the client's host does.
#include <windows.h>

#include "ModuleExport.h"

namespace {
using EntryFn = void (*)(HINSTANCE, HINSTANCE, LPWSTR, int);
}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previousInstance, LPWSTR commandLine, int showCommand) {
    auto entry = FindModuleExport<EntryFn>("Orvale_LoadModule_WinMain");
    if (entry == nullptr) return 2;
    entry(instance, previousInstance, commandLine, showCommand);
    return 0;
}
