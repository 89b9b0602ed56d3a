// A client of the module: puts one push box into the notification centre, as
// the client's own threads do.
//   PushBoxDemo.exe <title> <body> <image url> <launch args>
#include <windows.h>

#include <cstdio>
#include <string>

namespace {
using PushBoxFn = bool (*)(const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*);

std::wstring OwnFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    return folder.substr(0, folder.find_last_of(L"\\/") + 1);
}
}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 5) {
        std::fwprintf(stderr, L"usage: PushBoxDemo.exe <title> <body> <image url> <launch args>\n");
        return 2;
    }
    const std::wstring modulePath = OwnFolder() + L"NotificationAPI.dll";
    HMODULE module = LoadLibraryExW(modulePath.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) return 3;
    auto pushBox = reinterpret_cast<PushBoxFn>(
        reinterpret_cast<void*>(GetProcAddress(module, "NotificationSetToPushBox")));
    if (pushBox == nullptr) return 4;
    const bool shown = pushBox(argv[1], argv[2], argv[3], argv[4]);
    std::wprintf(L"NotificationSetToPushBox returned %ls\n", shown ? L"true" : L"false");
    return shown ? 0 : 1;
}
