#pragma once
// This process's memory as Windows counts it, for the figures that watch it
// grow over many calls of the module.
#include <cstdint>
#include <string>

struct MemoryReading {
    std::int64_t bytes = 0;
    const char* counter = "";  // which counter `bytes` is
};

// Private bytes where the system counts them. Wine leaves that counter at 0;
// the working set (resident pages) stands in for it then, which counts the
// heap the module fills as well, as the heap does not give pages back.
MemoryReading ReadProcessMemory();

// "+12.3 MB", "-480 KB": a change between two readings.
std::string SignedSizeText(std::int64_t bytes);
