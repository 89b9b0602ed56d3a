#include "FuzzSupport.h"

#include <winternl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include "TempFolder.h"

namespace fuzz {

std::uint32_t CaseReader::Below(std::uint32_t bound) {
    if (bound <= 1) return 0;
    std::uint64_t value = 0;
    for (std::uint64_t span = 1; span < bound; span <<= 8) value = (value << 8) | Byte();
    return static_cast<std::uint32_t>(value % bound);
}

std::string CaseReader::Bytes(std::size_t count) {
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i) bytes.push_back(static_cast<char>(Byte()));
    return bytes;
}

namespace {

std::wstring Variable(const wchar_t* name) {
    wchar_t value[256] = {};
    const DWORD length = GetEnvironmentVariableW(name, value, 256);
    return length > 0 && length < 256 ? std::wstring(value, length) : std::wstring();
}

std::uint64_t NumberVariable(const wchar_t* name, std::uint64_t fallback) {
    const std::wstring text = Variable(name);
    return text.empty() ? fallback : std::wcstoull(text.c_str(), nullptr, 0);
}

std::uint64_t Fnv1a(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325ull;
    for (char byte : bytes) hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x100000001B3ull;
    return hash;
}

// splitmix64, so that a seed gives the same cases with every compiler.
std::string GeneratedCase(const Surface& surface, std::uint64_t seed, std::uint64_t index) {
    std::uint64_t state = seed ^ Fnv1a(surface.name) ^ (index * 0xD1B54A32D192ED03ull);
    auto next = [&state] {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    };
    std::string bytes(static_cast<std::size_t>(next() % (surface.maxCaseBytes + 1)), '\0');
    for (char& byte : bytes) byte = static_cast<char>(next() & 0xFF);
    return bytes;
}

// A hung case cannot be stopped from its own thread; its file in the corpus
// already names it.
std::atomic<ULONGLONG> g_caseStartedAt{0};

void WatchForHangs(DWORD limitMs) {
    std::thread([limitMs] {
        for (;;) {
            Sleep(500);
            const ULONGLONG started = g_caseStartedAt.load();
            if (started != 0 && GetTickCount64() - started > limitMs) TerminateProcess(GetCurrentProcess(), 3);
        }
    }).detach();
}

// Wine answers GetProcessHandleCount with 0 (its process query is a stub), so
// the process's handles are counted by probing handle values. The system-wide
// handle list would tell at once, but querying it crashes Wine's server when
// another process exits meanwhile. Registry keys are not counted: Wine's
// runtime activation leaves one open per activation.
long CountOwnHandles() {
    struct ObjectTypeName {
        UNICODE_STRING name;
        ULONG reserved[22];
    };
    using QueryObject = LONG(WINAPI*)(HANDLE, ULONG, PVOID, ULONG, PULONG);
    static const auto query =
        reinterpret_cast<QueryObject>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryObject"));
    long count = 0;
    // Handle values are multiples of 4 and handed out lowest first: a long run
    // of unused values ends the table.
    int unused = 0;
    for (std::uintptr_t value = 4; unused < 1024 && value < (1u << 26); value += 4) {
        alignas(8) std::uint8_t buffer[sizeof(ObjectTypeName) + 512] = {};
        if (query(reinterpret_cast<HANDLE>(value), 2 /* ObjectTypeInformation */, buffer, sizeof(buffer), nullptr) < 0) {
            ++unused;
            continue;
        }
        unused = 0;
        const auto* type = reinterpret_cast<const ObjectTypeName*>(buffer);
        if (std::wstring_view(type->name.Buffer, type->name.Length / sizeof(wchar_t)) != L"Key") ++count;
    }
    return count;
}

// A thread-pool worker that ran the simulation's work holds a thread and an
// event handle while it lives, and the pool lets an idle worker go after 5 s:
// only handles that outlive 12 s are a leak.
bool HandlesKept(long baseline, long tolerance, const std::string& upTo) {
    long handles = CountOwnHandles();
    for (int wait = 0; handles > baseline + tolerance && wait < 24; ++wait) {
        Sleep(500);
        handles = CountOwnHandles();
    }
    if (handles <= baseline + tolerance) return true;
    ADD_FAILURE() << "handle count grew from " << baseline << " to " << handles << " up to " << upTo;
    return false;
}

}  // namespace

void RunCampaign(const Surface& surface, const std::function<void(std::string_view)>& runCase) {
    std::wstring corpus = Variable(L"ORVALE_FUZZ_CORPUS");
    if (corpus.empty()) corpus = ORVALE_FUZZ_CORPUS_DIR;
    corpus += L"\\" + Utf8ToWideText(surface.name);
    const std::uint64_t seed = NumberVariable(L"ORVALE_FUZZ_SEED", 1);
    const std::uint64_t cases = NumberVariable(L"ORVALE_FUZZ_CASES", surface.shortCases);
    WatchForHangs(surface.caseTimeLimitMs);

    // A generated case is written to the corpus before it runs and removed
    // once it passed, so whatever ends the process mid-case leaves it behind.
    auto run = [&](const std::string& bytes, bool generated, const std::string& label) {
        wchar_t name[32] = {};
        swprintf(name, 32, L"\\%016llx.bin", static_cast<unsigned long long>(Fnv1a(bytes)));
        const std::wstring pending = corpus + name;
        const bool keep = !generated || GetFileAttributesW(pending.c_str()) != INVALID_FILE_ATTRIBUTES;
        if (!keep) {
            std::error_code ignored;
            std::filesystem::create_directories(corpus, ignored);
            WriteFileBytes(pending, bytes);
        }
        g_caseStartedAt = GetTickCount64();
        runCase(bytes);
        g_caseStartedAt = 0;
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "failing " << label << (keep ? "" : ", kept as " + WideToUtf8Text(pending));
            return false;
        }
        if (!keep) DeleteFileW(pending.c_str());
        return true;
    };
    auto generated = [&](std::uint64_t caseSeed, std::uint64_t index) {
        return run(GeneratedCase(surface, caseSeed, index), true,
                   "case " + std::to_string(index) + " of seed " + std::to_string(caseSeed));
    };

    for (std::uint64_t i = 0; i < 20; ++i) {
        if (!generated(~seed, i)) return;
    }
    const long baseline = CountOwnHandles();
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(corpus, error)) {
        if (entry.path().extension() == L".bin") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        if (!run(ReadFileBytes(file.wstring()), false, "corpus case " + file.filename().string())) return;
    }
    for (std::uint64_t i = 0; i < cases; ++i) {
        if (!generated(seed, i)) return;
        // Counting costs a server call per handle value under Wine.
        if ((i + 1) % 4096 == 0 && !HandlesKept(baseline, surface.handleTolerance, "case " + std::to_string(i))) return;
    }
    HandlesKept(baseline, surface.handleTolerance, "the last case");
}

}  // namespace fuzz
