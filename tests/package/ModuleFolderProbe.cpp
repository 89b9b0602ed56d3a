// A host that keeps the module in a folder of its own:
//   ModuleFolderProbe.exe <module path> <entry switches...>
// loads the module from that path and runs its entry, which reads the
// switches from this process's command line.
#include <windows.h>

#include <cstdio>

#include "NotificationAPI.h"
#include "SimRuntimeControl.h"

int wmain(int argc, wchar_t** argv) {
    if (argc < 2) return 2;
    // The standard search: what the module needs comes from this executable's folder.
    const HMODULE module = LoadLibraryW(argv[1]);
    if (module == nullptr) {
        std::printf("cannot load the module, error %lu\n", GetLastError());
        return 1;
    }
    const auto entry = reinterpret_cast<OrvaleLoadModuleWinMainFn>(
        reinterpret_cast<void*>(GetProcAddress(module, NOTIFICATIONAPI_ENTRY_EXPORT)));
    if (entry == nullptr) return 1;
    entry(GetModuleHandleW(nullptr), nullptr, GetCommandLineW(), SW_SHOWDEFAULT);
    for (const auto& call : sim_control::call_log()) {
        if (call.rfind(L"PackageManager.AddPackageByUriAsync", 0) == 0) std::printf("%ls\n", call.c_str());
    }
    return 0;
}
