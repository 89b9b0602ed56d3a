// Stand-alone host: loads the module from its own folder and runs its entry
// once with this process's loader arguments, as the client's host does.
#include <windows.h>

#include <string>

namespace {
using EntryFn = void (*)(HINSTANCE, HINSTANCE, LPWSTR, int);

std::wstring OwnFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    return folder.substr(0, folder.find_last_of(L"\\/") + 1);
}
}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previousInstance, LPWSTR commandLine, int showCommand) {
    const std::wstring modulePath = OwnFolder() + L"NotificationAPI.dll";
    HMODULE module = LoadLibraryExW(modulePath.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) return 2;
    auto entry = reinterpret_cast<EntryFn>(GetProcAddress(module, "Orvale_LoadModule_WinMain"));
    if (entry == nullptr) return 3;
    entry(instance, previousInstance, commandLine, showCommand);
    return 0;
}
