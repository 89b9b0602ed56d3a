#pragma once
// What every fuzz program shares: the reader that turns any byte string into
// a case's choices, and the campaign that replays the corpus of cases that
// once failed and then seeded random ones, watching each for failures,
// crashes, hangs and handles left behind.
#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace fuzz {

// Past the end every choice is 0, so any byte string, a truncated one
// included, is a valid case, and a saved case replays exactly.
class CaseReader {
public:
    explicit CaseReader(std::string_view bytes) : bytes_(bytes) {}
    std::uint8_t Byte() { return offset_ < bytes_.size() ? static_cast<std::uint8_t>(bytes_[offset_++]) : 0; }
    // Uniform enough in [0, bound); reads as many bytes as the bound needs.
    std::uint32_t Below(std::uint32_t bound);
    // True with probability about per256 / 256.
    bool Chance(std::uint32_t per256) { return Byte() < per256; }
    std::string Bytes(std::size_t count);
    std::uint32_t Uint32() {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) value = (value << 8) | Byte();
        return value;
    }
    template <class T, std::size_t N>
    const T& Pick(const T (&items)[N]) {
        return items[Below(static_cast<std::uint32_t>(N))];
    }

private:
    std::string_view bytes_;
    std::size_t offset_ = 0;
};

struct Surface {
    const char* name;          // the corpus subfolder
    std::size_t maxCaseBytes;  // generated cases have 0 to this many bytes
    std::uint64_t shortCases;  // generated cases of the normal test run
    DWORD caseTimeLimitMs;     // a case that runs longer is a hang
    long handleTolerance;      // handles the process may gain after the warm-up
};

// Runs 20 warm-up cases, replays every case of the surface's corpus folder
// (under ORVALE_FUZZ_CORPUS, else the source tree's), then ORVALE_FUZZ_CASES
// generated cases of seed ORVALE_FUZZ_SEED (else the surface's short count of
// seed 1). A generated case that fails an assertion, crashes, throws or hangs
// stays in the corpus folder; the first failure or handle growth past the
// tolerance ends the campaign.
void RunCampaign(const Surface& surface, const std::function<void(std::string_view)>& runCase);

}  // namespace fuzz
