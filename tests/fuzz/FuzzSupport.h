#pragma once
// What every fuzz program shares: seeded case generation, the case reader that
// turns any byte string into choices, the corpus of cases that once failed,
// and the watch over crashes, hangs and the process's handle count.
//
// A case is a byte string. Generated cases are random bytes; each surface
// reads its choices from them, so a saved case replays exactly, whatever
// generator produced it.
#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace fuzz {

// splitmix64: the same seed gives the same cases with every compiler.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    std::uint64_t Next();
    // 0 when bound is 0.
    std::uint64_t Below(std::uint64_t bound) { return bound == 0 ? 0 : Next() % bound; }
    std::string Bytes(std::size_t count);

private:
    std::uint64_t state_;
};

// Choices read from a case's bytes; past the end every choice is 0, so any
// byte string, a truncated one included, is a valid case.
class CaseReader {
public:
    explicit CaseReader(std::string_view bytes) : bytes_(bytes) {}
    std::uint8_t Byte();
    // Uniform enough in [0, bound); reads as many bytes as the bound needs.
    std::uint32_t Below(std::uint32_t bound);
    // True with probability about per256 / 256.
    bool Chance(std::uint32_t per256) { return Byte() < per256; }
    std::string Bytes(std::size_t count);
    std::uint32_t Uint32();
    template <class T, std::size_t N>
    const T& Pick(const T (&items)[N]) {
        return items[Below(static_cast<std::uint32_t>(N))];
    }

private:
    std::string_view bytes_;
    std::size_t offset_ = 0;
};

struct Surface {
    const char* name;            // the corpus subfolder
    std::size_t maxCaseBytes;    // generated cases have 0 to this many bytes
    std::uint64_t shortCases;    // generated cases of the normal test run
    DWORD caseTimeLimitMs;       // a case that runs longer is a hang
    long handleTolerance;        // handles the process may gain after the warm-up
    std::uint64_t warmUpCases = 20;
};

// Warms up, replays every corpus case (of the surface's folder under
// ORVALE_FUZZ_CORPUS, else the source tree's), then runs the generated ones:
// ORVALE_FUZZ_CASES of seed ORVALE_FUZZ_SEED, else the surface's short count of seed 1. Each case
// runs under the watch: a crash, an uncaught exception or a run past the time
// limit saves the case to the corpus and ends the process; a gtest failure
// saves it and ends the campaign. Handle growth past the tolerance, counted
// every 256 cases (every 4,096 past the first 4,096) and after the last, ends
// the campaign.
void RunCampaign(const Surface& surface, const std::function<void(std::string_view)>& runCase);

}  // namespace fuzz
