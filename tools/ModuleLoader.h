#pragma once
// Programs of the client load the module from their own folder and reach its
// exports by name, with the types of include/NotificationAPI.h.
#include <windows.h>

#include <string>

inline std::wstring OwnFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path);
    return folder.substr(0, folder.find_last_of(L"\\/") + 1);
}

// The export `name` of NotificationAPI.dll beside this program; null when the
// module or the export is missing.
template <typename Function>
Function FindModuleExport(const char* name) {
    const std::wstring modulePath = OwnFolder() + L"NotificationAPI.dll";
    HMODULE module = LoadLibraryExW(modulePath.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) return nullptr;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}
