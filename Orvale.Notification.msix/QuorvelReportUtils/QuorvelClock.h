#pragma once
// The system clock as the report subsystem reads it: 100-nanosecond ticks
// since 1970-01-01 UTC, from which body timestamps (ms), file names (ns) and
// claim times (s) are derived.
#include <windows.h>

#include <cstdint>

namespace quorvel {

inline std::uint64_t UnixTicksNow() {
    // 1601-01-01 to 1970-01-01 in 100-ns ticks.
    constexpr std::uint64_t kEpochDifference = 116444736000000000ULL;
    FILETIME now = {};
    // Precise: file names are made from it, and two reports of one process
    // must not share a tick.
    GetSystemTimePreciseAsFileTime(&now);
    const std::uint64_t ticks = (static_cast<std::uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
    return ticks - kEpochDifference;
}

inline std::int64_t UnixMillisecondsNow() { return static_cast<std::int64_t>(UnixTicksNow() / 10000); }
inline std::uint64_t UnixNanosecondsNow() { return UnixTicksNow() * 100; }
inline std::int64_t UnixSecondsNow() { return static_cast<std::int64_t>(UnixTicksNow() / 10000000); }

}  // namespace quorvel
