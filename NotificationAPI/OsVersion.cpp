#include "OsVersion.h"

#include <windows.h>

#include <string>
#include <vector>

namespace {

struct OsVersionCache {
    uint32_t major = 0;
    uint32_t minor = 0;
    uint32_t build = 0;
};

// Filled on the entry's thread before any other thread exists.
OsVersionCache g_osVersion;

using RtlGetVersionFn = LONG(WINAPI*)(OSVERSIONINFOW*);
using RtlGetNtVersionNumbersFn = void(WINAPI*)(DWORD*, DWORD*, DWORD*);

class LoadedLibrary {
public:
    explicit LoadedLibrary(const wchar_t* name) : module_(LoadLibraryW(name)) {}
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;
    ~LoadedLibrary() {
        if (module_) FreeLibrary(module_);
    }
    FARPROC Find(const char* name) const { return module_ ? GetProcAddress(module_, name) : nullptr; }

private:
    HMODULE module_;
};

bool ReadKernelFileVersionOrThrow(uint32_t& major, uint32_t& minor) {
    wchar_t systemDir[MAX_PATH] = {};
    UINT length = GetSystemDirectoryW(systemDir, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return false;
    std::wstring kernelPath = std::wstring(systemDir) + L"\\ntoskrnl.exe";
    DWORD handle = 0;
    DWORD size = GetFileVersionInfoSizeW(kernelPath.c_str(), &handle);
    if (size == 0) return false;
    std::vector<BYTE> block(size);
    if (!GetFileVersionInfoW(kernelPath.c_str(), 0, size, block.data())) return false;
    VS_FIXEDFILEINFO* info = nullptr;
    UINT infoSize = 0;
    if (!VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &infoSize) || infoSize == 0) return false;
    major = HIWORD(info->dwFileVersionMS);
    minor = LOWORD(info->dwFileVersionMS);
    return true;
}

// The probe answers "unknown" rather than throw when the block cannot be allocated.
bool ReadKernelFileVersion(uint32_t& major, uint32_t& minor) {
    try {
        return ReadKernelFileVersionOrThrow(major, minor);
    } catch (...) {
        return false;
    }
}

}  // namespace

bool IsSupportedOsVersion(uint32_t major, uint32_t minor, uint32_t build) {
    if (major == 10) return minor != 0 || build >= 19041;
    return major >= 11;
}

void GetNtVersionNumbers(uint32_t& major, uint32_t& minor, uint32_t& build) {
    {
        LoadedLibrary ntdll(L"ntdll.dll");
        if (auto numbers = reinterpret_cast<RtlGetNtVersionNumbersFn>(ntdll.Find("RtlGetNtVersionNumbers"))) {
            DWORD ntMajor = 0, ntMinor = 0, ntBuild = 0;
            numbers(&ntMajor, &ntMinor, &ntBuild);
            major = ntMajor;
            minor = ntMinor;
            build = ntBuild & 0xFFFF;  // the upper half carries flag bits
            return;
        }
    }
    uint32_t fileMajor = 0, fileMinor = 0;
    if (ReadKernelFileVersion(fileMajor, fileMinor)) {
        major = fileMajor;
        minor = fileMinor;
    }
}

bool ReadRtlVersion(OSVERSIONINFOW& info) {
    info = {};
    info.dwOSVersionInfoSize = sizeof(info);
    HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    auto getVersion = ntdll ? reinterpret_cast<RtlGetVersionFn>(GetProcAddress(ntdll, "RtlGetVersion")) : nullptr;
    if (getVersion == nullptr) return false;
    getVersion(&info);
    return true;
}

bool IsSupportedOsBuild() {
    if (g_osVersion.major == 0) {
        OSVERSIONINFOW info;
        if (!ReadRtlVersion(info)) return false;  // not cached: the next call tries again
        uint32_t major = info.dwMajorVersion, minor = info.dwMinorVersion, build = info.dwBuildNumber;
        GetNtVersionNumbers(major, minor, build);
        g_osVersion = {major, minor, build};
    }
    return IsSupportedOsVersion(g_osVersion.major, g_osVersion.minor, g_osVersion.build);
}
