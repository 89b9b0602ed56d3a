#include "StandaloneSettings.h"

#include <windows.h>

namespace standalone {

std::optional<std::wstring> ReadVariable(const wchar_t* name) {
    SetLastError(ERROR_SUCCESS);
    DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
    if (size == 0) {
        if (GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
        return std::wstring();
    }
    std::wstring value(size, L'\0');
    DWORD written = GetEnvironmentVariableW(name, value.data(), size);
    value.resize(written);
    return value;
}

}  // namespace standalone
