// A client of the module, linked with its import library: puts one push box
// into the notification centre, as the client's own threads do.
//   PushBoxDemo.exe <title> <body> <image url> <launch args>
#include <windows.h>

#include <cstdio>
#include <string>

#include "NotificationAPI.h"

int wmain(int argc, wchar_t** argv) {
    if (argc != 5) {
        std::fwprintf(stderr, L"usage: PushBoxDemo.exe <title> <body> <image url> <launch args>\n");
        return 2;
    }
    const bool shown = NotificationSetToPushBox(argv[1], argv[2], argv[3], argv[4]);
    std::wprintf(L"NotificationSetToPushBox returned %ls\n", shown ? L"true" : L"false");
    return shown ? 0 : 1;
}
