// Stand-alone base library: paths, text conversion, module preloading and the
// host's own configuration reader.
#include <windows.h>

#include <string>

#include "OrvaleBase.h"
#include "StandaloneSettings.h"
#include "UtilJx.h"
#include "ZoLog.h"

namespace base {

std::wstring GetModuleFolder(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    path.resize(length);
    size_t separator = path.find_last_of(L"\\/");
    // The real library keeps the trailing separator; callers must cope with it.
    return separator == std::wstring::npos ? std::wstring() : path.substr(0, separator + 1);
}

std::wstring GetFileNameByPath(const std::wstring& path) {
    size_t separator = path.find_last_of(L"\\/");
    return separator == std::wstring::npos ? path : path.substr(separator + 1);
}

std::wstring Utf8ToWide(const std::string& text) {
    if (text.empty()) return {};
    int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(length, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), length);
    return wide;
}

}  // namespace base

namespace UtilJx::Base {

std::string Utf16ToUtf8(const std::wstring& text) {
    if (text.empty()) return {};
    int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string narrow(length, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(), length, nullptr, nullptr);
    return narrow;
}

}  // namespace UtilJx::Base

PreloadDll& PreloadDll::GetInstance() {
    static PreloadDll instance;
    return instance;
}

HMODULE PreloadDll::GetRelativeDllModuleHandle(const std::wstring& fileName) {
    if (HMODULE loaded = GetModuleHandleW(fileName.c_str())) return loaded;
    std::wstring path = base::GetModuleFolder(nullptr) + fileName;
    return LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

KivCacheFileReaderHelper& KivCacheFileReaderHelper::GetInstance() {
    static KivCacheFileReaderHelper instance;
    return instance;
}

bool KivCacheFileReaderHelper::isKivCacheOpt() {
    return standalone::ReadVariable(standalone::kConfigReaderOptVariable).value_or(L"") == L"1";
}

// In its optimised mode the stand-alone reader has no data of its own: it
// records each call in the log (so forwarding can be observed) and answers
// with the default.
namespace {
void TraceReaderCall(const wchar_t* function, const std::wstring& detail) {
    ZoLogOutToFileNoFormatW(L"", L"", 1, __FILE__, __LINE__, function, detail.c_str());
}
}  // namespace

void KivCacheFileReaderHelper::LoadRemoteConfigJsonFile(const std::wstring& path) {
    TraceReaderCall(L"KivCacheFileReaderHelper::LoadRemoteConfigJsonFile", path);
}

void KivCacheFileReaderHelper::LoadRemoteConfigDefault() {
    TraceReaderCall(L"KivCacheFileReaderHelper::LoadRemoteConfigDefault", L"");
}

std::wstring KivCacheFileReaderHelper::GetRemoteConfig(const wchar_t* key, const std::wstring& defaultValue) {
    TraceReaderCall(L"KivCacheFileReaderHelper::GetRemoteConfig", key ? key : L"");
    return defaultValue;
}

std::wstring KivCacheFileReaderHelper::GetStringFromConfigJson(const wchar_t* key, const wchar_t* subKey,
                                                               std::wstring& defaultValue) {
    TraceReaderCall(L"KivCacheFileReaderHelper::GetStringFromConfigJson",
                    std::wstring(key ? key : L"") + L"/" + (subKey ? subKey : L""));
    return defaultValue;
}
