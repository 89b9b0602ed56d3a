#pragma once
#include <windows.h>

#include <string>

#include "HostApiExport.h"

namespace base {

// Folder of `module` (the process executable when null), with a trailing separator.
HOSTAPI std::wstring GetModuleFolder(HMODULE module = nullptr);
HOSTAPI std::wstring GetFileNameByPath(const std::wstring& path);
HOSTAPI std::wstring Utf8ToWide(const std::string& text);

}  // namespace base

// Loads the client's own modules from the client's folder.
class HOSTAPI PreloadDll {
public:
    static PreloadDll& GetInstance();
    HMODULE GetRelativeDllModuleHandle(const std::wstring& fileName);
};

// The client's own cached reader of remote-configuration files.
class HOSTAPI KivCacheFileReaderHelper {
public:
    static KivCacheFileReaderHelper& GetInstance();
    bool isKivCacheOpt();
    void LoadRemoteConfigJsonFile(const std::wstring& path);
    void LoadRemoteConfigDefault();
    std::wstring GetRemoteConfig(const wchar_t* key, const std::wstring& defaultValue);
    std::wstring GetStringFromConfigJson(const wchar_t* key, const wchar_t* subKey, std::wstring& defaultValue);
};
