// Prints what the module's OS probe decides in this process:
//   "supported=<0|1> version=<major>.<minor>.<build>"
#include <windows.h>

#include <cstdio>

#include "OsVersion.h"

int wmain() {
    uint32_t major = 0, minor = 0, build = 0;
    GetNtVersionNumbers(major, minor, build);
    std::printf("supported=%d version=%u.%u.%u\n", IsSupportedOsBuild() ? 1 : 0, major, minor, build);
    return 0;
}
