// Runs the install from wherever this program lies and prints its result and
// how many simulated runtime calls it made: "hr=0x80070002 runtime-calls=0".
#include <windows.h>

#include <cstdio>

#include "NotificationPackageManager.h"
#include "SimRuntimeControl.h"

int wmain() {
    const HRESULT result = InstallNotificationPackage(1000);
    std::printf("hr=0x%08lX runtime-calls=%u\n", static_cast<unsigned long>(result),
                static_cast<unsigned>(sim_control::call_log().size()));
    return 0;
}
