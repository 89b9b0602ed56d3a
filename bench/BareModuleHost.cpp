// The baseline of a host run: loads the module from its own folder and finds
// its entry exactly as OrvaleHost.exe does, then returns without calling it.
#include <windows.h>

#include "ModuleLoader.h"
#include "NotificationAPI.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return FindModuleExport<OrvaleLoadModuleWinMainFn>(NOTIFICATIONAPI_ENTRY_EXPORT) == nullptr ? 2 : 0;
}
