#include "CommandLine.h"

#include <windows.h>

#include <shellapi.h>

#include <cwchar>
#include <memory>

namespace {

struct LocalFreeDeleter {
    void operator()(LPWSTR* block) const { LocalFree(block); }
};

// Allocations may fail; the public function turns that into "absent".
std::wstring FindCommandLineParam(const std::wstring& name) {
    int count = 0;
    std::unique_ptr<LPWSTR, LocalFreeDeleter> arguments(CommandLineToArgvW(GetCommandLineW(), &count));
    if (!arguments) return {};
    const std::wstring key = L"-" + name;
    for (int i = 0; i < count; ++i) {
        if (_wcsicmp(arguments.get()[i], key.c_str()) == 0) {
            return i + 1 < count ? std::wstring(arguments.get()[i + 1]) : std::wstring();
        }
    }
    return {};
}

}  // namespace

std::wstring GetCommandLineParam(const std::wstring& name) {
    try {
        return FindCommandLineParam(name);
    } catch (...) {
        return {};
    }
}

int ParseSwitchNumber(const std::wstring& value) { return _wtoi(value.c_str()); }
