#pragma once
// The simulation's variables: a test that starts another process steers the
// simulated runtime in that process through its environment.
#include <windows.h>

#include <optional>
#include <string>

namespace sim {

// The value of `name`, nothing when it is not set.
inline std::optional<std::wstring> environment_variable(const wchar_t* name) {
    const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
    if (size == 0) return std::nullopt;
    std::wstring value(size, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), size));
    return value;
}

}  // namespace sim
