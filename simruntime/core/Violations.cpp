#include "Violations.h"

#include <windows.h>
#include <winstring.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "EnvironmentVariable.h"
#include "HttpText.h"
#include "SimRuntimeControl.h"
#include "UniqueHandle.h"

namespace sim {

namespace {

struct violation_record {
    std::mutex mutex;
    std::vector<std::wstring> lines;
};

// Never destroyed: a violation may come from a thread still running at exit.
violation_record& record() {
    static auto* instance = new violation_record;
    return *instance;
}

std::wstring program_name() {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    const std::size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

// One write per line with FILE_APPEND_DATA, so lines of processes that run at
// the same time do not mix.
void append_to_file(const std::wstring& path, const std::wstring& text) {
    const UniqueHandle file(CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) return;
    const std::string line =
        utf8_of(std::to_wstring(GetCurrentProcessId()) + L"\t" + program_name() + L"\t" + text) + "\n";
    DWORD written = 0;
    WriteFile(file.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

}  // namespace

void record_violation(const std::wstring& text) {
    {
        std::lock_guard lock(record().mutex);
        record().lines.push_back(text);
    }
    if (const auto path = environment_variable(L"SIMRUNTIME_VIOLATIONS_FILE")) append_to_file(*path, text);
}

}  // namespace sim

// S_FALSE past the last one. Not cleared by SimRuntime_Reset: a test that
// resets the simulation halfway must not hide what it broke before.
extern "C" __declspec(dllexport) HRESULT SimRuntime_Violation(UINT32 index, HSTRING* line) {
    if (!line) return E_POINTER;
    *line = nullptr;
    std::wstring text;
    {
        std::lock_guard lock(sim::record().mutex);
        if (index >= sim::record().lines.size()) return S_FALSE;
        text = sim::record().lines[index];
    }
    return WindowsCreateString(text.data(), static_cast<UINT32>(text.size()), line);
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_ClearViolations(UINT32 count) {
    std::lock_guard lock(sim::record().mutex);
    auto& lines = sim::record().lines;
    lines.erase(lines.begin(), lines.begin() + std::min<std::size_t>(count, lines.size()));
    return S_OK;
}
