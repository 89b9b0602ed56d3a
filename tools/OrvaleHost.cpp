// Stand-alone host: loads the module from its own folder and runs its entry
// once with this process's loader arguments, as the client's host does.
#include <windows.h>

#include "ModuleLoader.h"
#include "NotificationAPI.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previousInstance, LPWSTR commandLine, int showCommand) {
    auto entry = FindModuleExport<OrvaleLoadModuleWinMainFn>(NOTIFICATIONAPI_ENTRY_EXPORT);
    if (entry == nullptr) return 2;
    entry(instance, previousInstance, commandLine, showCommand);
    return 0;
}
