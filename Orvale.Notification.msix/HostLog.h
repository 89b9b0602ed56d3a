#pragma once
// The one way this code writes to the host logger: formats with {fmt} and
// fills the logger's seven arguments.
#include <windows.h>

#include <fmt/format.h>
#include <fmt/xchar.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "ZoLog.h"

namespace host_log {

enum Level : int { kInfo = 1, kWarning = 2, kError = 3 };

inline void WriteLine(int level, const char* sourceFile, int sourceLine, const wchar_t* function,
                      const std::wstring& message) noexcept {
    try {
        ZoLogOutToFileFMTW(std::wstring(), std::wstring(), level, sourceFile, sourceLine, function, message);
    } catch (...) {
    }
}

template <typename... Args>
void Write(int level, const char* sourceFile, int sourceLine, const wchar_t* function,
           fmt::wformat_string<Args...> format, Args&&... args) noexcept {
    try {
        WriteLine(level, sourceFile, sourceLine, function, fmt::format(format, std::forward<Args>(args)...));
    } catch (...) {
    }
}

// HRESULTs print as eight hexadecimal digits, never with a sign.
inline uint32_t Hex(HRESULT hr) { return static_cast<uint32_t>(hr); }

// UTF-8 text for a wide log message.
inline std::wstring Wide(std::string_view utf8) {
    if (utf8.empty()) return {};
    int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), length);
    return wide;
}

}  // namespace host_log

#define HOST_LOG_INFO(function, ...) ::host_log::Write(::host_log::kInfo, __FILE__, __LINE__, function, __VA_ARGS__)
#define HOST_LOG_WARN(function, ...) ::host_log::Write(::host_log::kWarning, __FILE__, __LINE__, function, __VA_ARGS__)
#define HOST_LOG_ERROR(function, ...) ::host_log::Write(::host_log::kError, __FILE__, __LINE__, function, __VA_ARGS__)
