#include "BenchEnvironment.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace {

std::optional<std::wstring> ReadVariable(const std::wstring& name) {
    const DWORD length = GetEnvironmentVariableW(name.c_str(), nullptr, 0);
    if (length == 0) return std::nullopt;
    std::wstring value(length, L'\0');
    value.resize(GetEnvironmentVariableW(name.c_str(), value.data(), length));
    return value;
}

}  // namespace

ScratchFolder::ScratchFolder(const std::wstring& prefix) {
    wchar_t temp[MAX_PATH] = {};
    if (GetTempPathW(MAX_PATH, temp) == 0) throw std::runtime_error("no temporary folder");
    static std::atomic<unsigned> made{0};
    path_ = std::wstring(temp) + prefix + L"-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
            std::to_wstring(++made) + L"\\";
    std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ScopedEnvironmentVariable::ScopedEnvironmentVariable(std::wstring name, const std::wstring& value)
    : name_(std::move(name)), previous_(ReadVariable(name_)) {
    SetEnvironmentVariableW(name_.c_str(), value.c_str());
}

ScopedEnvironmentVariable::~ScopedEnvironmentVariable() {
    SetEnvironmentVariableW(name_.c_str(), previous_ ? previous_->c_str() : nullptr);
}
