#include "ProcessMemory.h"

#include <windows.h>

#include <psapi.h>

#include <fmt/format.h>

#include <cstdlib>
#include <stdexcept>

MemoryReading ReadProcessMemory() {
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    counters.cb = sizeof(counters);
    if (!GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                              sizeof(counters))) {
        throw std::runtime_error("cannot read this process's memory counters");
    }
    if (counters.PrivateUsage != 0) return {static_cast<std::int64_t>(counters.PrivateUsage), "private bytes"};
    return {static_cast<std::int64_t>(counters.WorkingSetSize), "working set"};
}

std::string SignedSizeText(std::int64_t bytes) {
    const char* sign = bytes < 0 ? "-" : "+";
    const double size = static_cast<double>(std::llabs(bytes));
    if (size < 1024.0 * 1024.0) return fmt::format("{}{:.0f} KB", sign, size / 1024.0);
    return fmt::format("{}{:.1f} MB", sign, size / (1024.0 * 1024.0));
}
