#include "FuzzSupport.h"

#include <winternl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "TempFolder.h"

namespace fuzz {

std::uint64_t Random::Next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

std::string Random::Bytes(std::size_t count) {
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(Next() & 0xFF);
    return bytes;
}

std::uint8_t CaseReader::Byte() {
    return offset_ < bytes_.size() ? static_cast<std::uint8_t>(bytes_[offset_++]) : 0;
}

std::uint32_t CaseReader::Below(std::uint32_t bound) {
    if (bound <= 1) return 0;
    std::uint64_t value = 0;
    for (std::uint64_t span = 1; span < bound; span <<= 8) value = (value << 8) | Byte();
    return static_cast<std::uint32_t>(value % bound);
}

std::string CaseReader::Bytes(std::size_t count) {
    std::string bytes;
    bytes.reserve(count);
    for (std::size_t i = 0; i < count; ++i) bytes.push_back(static_cast<char>(Byte()));
    return bytes;
}

std::uint32_t CaseReader::Uint32() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = (value << 8) | Byte();
    return value;
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

// Named after its content, so a case found twice is kept once.
std::wstring SaveCase(const std::wstring& folder, std::string_view bytes) {
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    wchar_t name[32] = {};
    swprintf(name, 32, L"%016llx.bin", static_cast<unsigned long long>(Fnv1a(bytes)));
    const std::wstring path = folder + L"\\" + name;
    WriteFileBytes(path, std::string(bytes));
    return path;
}

// The case the watch saves when the process is about to die with it.
struct CaseInProgress {
    std::wstring corpusFolder;
    std::string bytes;
    bool saveOnFailure = false;
    std::string label;
};

std::atomic<const CaseInProgress*> g_current{nullptr};

void SaveDyingCase(const char* why) {
    const CaseInProgress* current = g_current.exchange(nullptr);
    if (current == nullptr) return;
    std::fprintf(stderr, "\n[fuzz] %s in %s\n", why, current->label.c_str());
    if (current->saveOnFailure) {
        const std::wstring path = SaveCase(current->corpusFolder, current->bytes);
        std::fprintf(stderr, "[fuzz] case saved to %s\n", WideToUtf8Text(path).c_str());
    }
    std::fflush(stderr);
}

LONG WINAPI SaveCaseOnCrash(EXCEPTION_POINTERS* info) {
    char why[64] = {};
    std::snprintf(why, sizeof(why), "crash 0x%08lX", info->ExceptionRecord->ExceptionCode);
    SaveDyingCase(why);
    return EXCEPTION_CONTINUE_SEARCH;
}

[[noreturn]] void SaveCaseOnTerminate() {
    SaveDyingCase("uncaught exception");
    std::abort();
}

// Ends the process when a case outlives its time limit: a hung case cannot be
// stopped from outside its thread.
class HangWatch {
public:
    HangWatch() : thread_([this] { Watch(); }) {}
    ~HangWatch() {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    void Arm(DWORD limitMs) {
        std::lock_guard lock(mutex_);
        deadline_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
        armed_ = true;
        changed_.notify_all();
    }
    void Disarm() {
        std::lock_guard lock(mutex_);
        armed_ = false;
    }

private:
    void Watch() {
        std::unique_lock lock(mutex_);
        while (!stopping_) {
            if (!armed_) {
                changed_.wait(lock);
            } else if (changed_.wait_until(lock, deadline_) == std::cv_status::timeout && armed_ &&
                       std::chrono::steady_clock::now() >= deadline_) {
                SaveDyingCase("hang past the case's time limit");
                TerminateProcess(GetCurrentProcess(), 3);
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    bool armed_ = false;
    std::chrono::steady_clock::time_point deadline_;
    std::thread thread_;
};

std::vector<std::wstring> CorpusFiles(const std::wstring& folder) {
    std::vector<std::wstring> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.is_regular_file() && entry.path().extension() == L".bin") files.push_back(entry.path().wstring());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Wine answers GetProcessHandleCount with 0 (its process query is a stub), so
// this process's handles are counted by probing handle values, by object
// type. The system-wide handle list would tell at once, but querying it
// crashes Wine's server when another process exits meanwhile, taking every
// running test down with it.
struct ObjectTypeName {
    UNICODE_STRING name;
    ULONG reserved[22];
};
using QueryObject = LONG(WINAPI*)(HANDLE, ULONG, PVOID, ULONG, PULONG);
constexpr ULONG kObjectTypeInformation = 2;
// Handle values are multiples of 4 and handed out lowest first: this many
// unused values in a row end the table.
constexpr int kUnusedValuesAtTheEnd = 1024;

// The type of the object `handle` names; nothing when the value names none.
std::optional<std::wstring> TypeOf(HANDLE handle) {
    static const auto query =
        reinterpret_cast<QueryObject>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryObject"));
    alignas(8) std::uint8_t buffer[sizeof(ObjectTypeName) + 512] = {};
    if (query == nullptr || query(handle, kObjectTypeInformation, buffer, sizeof(buffer), nullptr) < 0) return std::nullopt;
    const auto* type = reinterpret_cast<const ObjectTypeName*>(buffer);
    return std::wstring(type->name.Buffer, type->name.Length / sizeof(wchar_t));
}

// Wine's runtime activation leaves one registry key open per activation (seen
// by experiment: ten activations of one class, ten more key handles), so keys
// are not counted. They still make the walk longer as a run goes on, which is
// why it is one server call per value and why long runs count less often.
std::map<std::wstring, long> OwnHandleTypes() {
    std::map<std::wstring, long> types;
    int unused = 0;
    for (std::uintptr_t value = 4; unused < kUnusedValuesAtTheEnd && value < (1u << 26); value += 4) {
        const std::optional<std::wstring> type = TypeOf(reinterpret_cast<HANDLE>(value));
        if (!type) {
            ++unused;
            continue;
        }
        unused = 0;
        if (*type != L"Key") ++types[*type];
    }
    return types;
}

long CountOwnHandles() {
    long count = 0;
    for (const auto& [type, handles] : OwnHandleTypes()) count += handles;
    return count;
}

// Which object types grew.
std::string HandleGrowth(const std::map<std::wstring, long>& before) {
    std::string text;
    for (const auto& [type, handles] : OwnHandleTypes()) {
        const auto found = before.find(type);
        const long grown = handles - (found == before.end() ? 0 : found->second);
        if (grown > 0) text += " " + WideToUtf8Text(type) + " +" + std::to_string(grown);
    }
    return text;
}

std::uint64_t CaseCount(const Surface& surface) { return NumberVariable(L"ORVALE_FUZZ_CASES", surface.shortCases); }

std::uint64_t Seed() { return NumberVariable(L"ORVALE_FUZZ_SEED", 1); }

std::wstring CorpusFolder(const Surface& surface) {
    std::wstring root = Variable(L"ORVALE_FUZZ_CORPUS");
    if (root.empty()) root = ORVALE_FUZZ_CORPUS_DIR;
    return root + L"\\" + Utf8ToWideText(surface.name);
}

long HandleCount() {
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count != 0) return static_cast<long>(count);
    return CountOwnHandles();
}

std::string Hex(std::string_view bytes, std::size_t maxBytes = 64) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < bytes.size() && i < maxBytes; ++i) {
        text += digits[static_cast<std::uint8_t>(bytes[i]) >> 4];
        text += digits[static_cast<std::uint8_t>(bytes[i]) & 0xF];
    }
    if (bytes.size() > maxBytes) text += "... (" + std::to_string(bytes.size()) + " bytes)";
    return text;
}

std::string GeneratedCase(const Surface& surface, std::uint64_t seed, std::uint64_t index) {
    Random random(seed ^ Fnv1a(surface.name) ^ (index * 0xD1B54A32D192ED03ull));
    return random.Bytes(static_cast<std::size_t>(random.Below(surface.maxCaseBytes + 1)));
}

class Campaign {
public:
    Campaign(const Surface& surface, const std::function<void(std::string_view)>& runCase)
        : surface_(surface), runCase_(runCase), corpus_(CorpusFolder(surface)) {}

    // False when the case failed (the campaign stops).
    bool Run(std::string bytes, bool saveOnFailure, std::string label) {
        CaseInProgress current{corpus_, std::move(bytes), saveOnFailure, std::move(label)};
        g_current = &current;
        watch_.Arm(surface_.caseTimeLimitMs);
        runCase_(current.bytes);
        watch_.Disarm();
        g_current = nullptr;
        if (!testing::Test::HasFailure()) return true;
        ADD_FAILURE() << "failing case: " << current.label << ", bytes " << Hex(current.bytes);
        if (saveOnFailure) ADD_FAILURE() << "case saved to " << WideToUtf8Text(SaveCase(corpus_, current.bytes));
        return false;
    }

    void Execute() {
        const std::uint64_t seed = Seed();
        const std::uint64_t cases = CaseCount(surface_);
        for (std::uint64_t i = 0; i < surface_.warmUpCases; ++i) {
            if (!Run(GeneratedCase(surface_, ~seed, i), true, Label("warm-up", ~seed, i))) return;
        }
        baseline_ = HandleCount();
        baselineTypes_ = OwnHandleTypes();
        const auto files = CorpusFiles(corpus_);
        for (const auto& file : files) {
            if (!Run(ReadFileBytes(file), false, "corpus case " + WideToUtf8Text(file))) return;
        }
        for (std::uint64_t i = 0; i < cases; ++i) {
            if (!Run(GeneratedCase(surface_, seed, i), true, Label("generated", seed, i))) return;
            if (HandleCountDue(i) && !HandlesKept(Label("generated", seed, i))) return;
        }
        HandlesKept("the last case");
    }

private:
    // Counting costs a server call per handle value under Wine, and Wine's
    // leaked keys add values as a run goes on: counted every 256 cases at
    // first, every 4,096 in a long run, and after the last case.
    static bool HandleCountDue(std::uint64_t index) {
        const std::uint64_t every = index < 4096 ? 256 : 4096;
        return (index + 1) % every == 0;
    }
    // Longer than the thread pool keeps an idle worker.
    static constexpr int kSettleMs = 12000;

    // False when the process holds more handles than after the warm-up. A
    // thread-pool worker that ran the simulation's work holds a thread and an
    // event handle while it lives (seen under Wine 8), and the pool lets an
    // idle worker go after 5 s; so a count over the limit is taken
    // again until it falls back or kSettleMs have passed, and only handles
    // that outlive that are a leak.
    bool HandlesKept(const std::string& upTo) {
        long handles = HandleCount();
        const long limit = baseline_ + surface_.handleTolerance;
        for (const auto settling = std::chrono::steady_clock::now();
             handles > limit && std::chrono::steady_clock::now() - settling < std::chrono::milliseconds(kSettleMs);) {
            Sleep(500);
            handles = HandleCount();
        }
        if (handles <= limit) return true;
        ADD_FAILURE() << "handle count grew from " << baseline_ << " to " << handles << " up to " << upTo
                      << "; object types grown:" << HandleGrowth(baselineTypes_);
        return false;
    }

    static std::string Label(const char* kind, std::uint64_t seed, std::uint64_t index) {
        return std::string(kind) + " case " + std::to_string(index) + " of seed " + std::to_string(seed);
    }

    const Surface& surface_;
    const std::function<void(std::string_view)>& runCase_;
    std::wstring corpus_;
    HangWatch watch_;
    long baseline_ = -1;
    std::map<std::wstring, long> baselineTypes_;
};

}  // namespace

void RunCampaign(const Surface& surface, const std::function<void(std::string_view)>& runCase) {
    SetUnhandledExceptionFilter(SaveCaseOnCrash);
    std::set_terminate(SaveCaseOnTerminate);
    Campaign(surface, runCase).Execute();
}

}  // namespace fuzz
