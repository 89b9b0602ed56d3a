// A client of the module: puts one push box into the notification centre, as
// the client's own threads do.
//   PushBoxDemo.exe <title> <body> <image url> <launch args>
#include <windows.h>

#include <cstdio>
#include <string>

#include "ModuleExport.h"

namespace {
using PushBoxFn = bool (*)(const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*);
}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 5) {
        std::fwprintf(stderr, L"usage: PushBoxDemo.exe <title> <body> <image url> <launch args>\n");
        return 2;
    }
    auto pushBox = FindModuleExport<PushBoxFn>("NotificationSetToPushBox");
    if (pushBox == nullptr) return 3;
    const bool shown = pushBox(argv[1], argv[2], argv[3], argv[4]);
    std::wprintf(L"NotificationSetToPushBox returned %ls\n", shown ? L"true" : L"false");
    return shown ? 0 : 1;
}
