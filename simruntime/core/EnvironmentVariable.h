#pragma once
// The simulation's variables: a test that starts another process steers the
// simulated runtime in that process through its environment.
#include <windows.h>

#include <optional>
#include <string>

namespace sim {

// The value of `name`, nothing when it is not set or set to nothing (as a
// test that clears a variable may leave it).
inline std::optional<std::wstring> environment_variable(const wchar_t* name) {
    const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
    if (size <= 1) return std::nullopt;
    std::wstring value(size, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), size));
    if (value.empty()) return std::nullopt;
    return value;
}

}  // namespace sim
