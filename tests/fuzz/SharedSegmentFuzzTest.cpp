// The shared-memory reader against random writers: random headers, sizes and
// contents, objects missing or of the wrong kind under the names, and writers
// that die at random points (a writer is a thread here; when it ends holding
// the mutex, the mutex is abandoned, as when a writer process dies).
#include <windows.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <string>
#include <thread>

#include "FuzzSupport.h"
#include "GuidFileMappingReader.h"
#include "PushSegmentWriter.h"
#include "TempFolder.h"
#include "UniqueHandle.h"

namespace {

const fuzz::Surface kSurface{"shared_segment", 160, 400, 15000, 6};

constexpr DWORD kPatientTimeoutMs = 5000;

enum class WriterEnd {
    Normal,             // releases once the reader signals and keeps the objects until it is through
    ReleaseAndClose,    // releases and closes everything before the reader starts
    DieHolding,         // ends holding the mutex, after writing
    DieBeforeWriting,   // ends holding the mutex, before writing
    HoldPastTimeout,    // releases only after the reader's time-out
    ReleaseEarly,       // releases before the reader starts and keeps the objects
    Count
};

// A named object of another kind under one of the segment's names.
enum class Decoy { None, EventAsMapping, SemaphoreAsMutex, MutexAsEvent, Count };

struct SegmentCase {
    std::wstring guid;
    PushSegmentObjects objects;
    Decoy decoy = Decoy::None;
    uint32_t capacity = 0;
    uint32_t header = 0;
    std::string content;
    WriterEnd end = WriterEnd::Normal;
    DWORD readerTimeoutMs = 0;
};

uint32_t Header(fuzz::CaseReader& in, uint32_t contentBytes, uint32_t capacity) {
    switch (in.Below(6)) {
        case 0:
        case 1: return contentBytes;
        case 2: return in.Uint32();
        case 3: {
            static constexpr uint32_t kEdges[] = {0, 1, 2, 3, 0x9FFFFF, 0xA00000, 0xFFFFFFFF};
            return in.Pick(kEdges);
        }
        case 4: return capacity + in.Below(8);
        default: return contentBytes + in.Below(5);
    }
}

SegmentCase ReadCase(fuzz::CaseReader& in, const std::wstring& uniqueGuid) {
    SegmentCase c;
    c.guid = uniqueGuid;
    if (in.Chance(16)) c.guid += in.Chance(128) ? L"\\sub" : L"/x:y";
    c.objects.mapping = !in.Chance(24);
    c.objects.mutex = !in.Chance(16);
    c.objects.event = !in.Chance(24);
    c.decoy = in.Chance(32) ? static_cast<Decoy>(1 + in.Below(static_cast<uint32_t>(Decoy::Count) - 1)) : Decoy::None;
    c.capacity = in.Chance(8) ? 0xA00000 : in.Below(in.Chance(128) ? 64 : 4096);
    std::string content = in.Bytes(in.Below(48));
    if (in.Chance(96)) content.append(in.Chance(128) ? 2 : 4, '\0');
    c.content = content.substr(0, c.capacity);
    c.header = Header(in, static_cast<uint32_t>(c.content.size()), c.capacity);
    c.end = static_cast<WriterEnd>(in.Below(static_cast<uint32_t>(WriterEnd::Count)));
    c.readerTimeoutMs = c.end == WriterEnd::Normal ? kPatientTimeoutMs : in.Below(40);
    return c;
}

// What the reader must return when the writer did everything right.
std::wstring ExpectedRead(const SegmentCase& c) {
    if (c.header == 0 || c.header > GuidFileMapping::kMaxContentBytes) return L"";
    std::string bytes = c.content.substr(0, c.header);
    bytes.resize(c.header, '\0');  // the mapping's unwritten bytes are zero
    std::wstring text(bytes.size() / 2, L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    if (!text.empty() && text.back() == L'\0') text.pop_back();
    return text;
}

bool WriterBehavesWell(const SegmentCase& c) {
    return c.end == WriterEnd::Normal && c.objects.mapping && c.objects.mutex && c.objects.event &&
           c.decoy == Decoy::None && c.header <= c.capacity && c.guid.find_first_of(L"\\/") == std::wstring::npos;
}

UniqueHandle CreateDecoy(const SegmentCase& c) {
    switch (c.decoy) {
        case Decoy::EventAsMapping:
            return UniqueHandle(CreateEventW(nullptr, FALSE, FALSE, GuidFileMapping::BuildMappingObjectName(c.guid, L"_FM").c_str()));
        case Decoy::SemaphoreAsMutex:
            return UniqueHandle(
                CreateSemaphoreW(nullptr, 1, 1, GuidFileMapping::BuildMappingObjectName(c.guid, L"_Lock").c_str()));
        case Decoy::MutexAsEvent:
            return UniqueHandle(CreateMutexW(nullptr, FALSE, GuidFileMapping::BuildMappingObjectName(c.guid, L"_Event").c_str()));
        default: return UniqueHandle();
    }
}

// Runs on its own thread: the mutex belongs to the thread that created it.
void RunWriter(const SegmentCase& c, std::promise<void>& ready) {
    PushSegmentObjects objects = c.objects;
    if (c.decoy == Decoy::EventAsMapping) objects.mapping = false;
    if (c.decoy == Decoy::SemaphoreAsMutex) objects.mutex = false;
    if (c.decoy == Decoy::MutexAsEvent) objects.event = false;
    PushSegmentWriter writer(c.guid, c.capacity, objects);
    if (c.end == WriterEnd::DieBeforeWriting) return ready.set_value();
    writer.Write(c.header, c.content);
    switch (c.end) {
        case WriterEnd::ReleaseAndClose:
            writer.ReleaseLock();
            writer.CloseAll();
            return ready.set_value();
        case WriterEnd::DieHolding: return ready.set_value();
        case WriterEnd::ReleaseEarly:
            writer.ReleaseLock();
            ready.set_value();
            writer.WaitForReaderSignal(c.readerTimeoutMs + 200);
            writer.WaitForReaderDone(c.readerTimeoutMs + 200);
            return;
        case WriterEnd::HoldPastTimeout:
            ready.set_value();
            Sleep(c.readerTimeoutMs + 30);
            writer.ReleaseLock();
            return;
        default:
            ready.set_value();
            writer.WaitForReaderSignal(c.readerTimeoutMs);
            writer.ReleaseLock();
            writer.WaitForReaderDone(c.readerTimeoutMs);
            return;
    }
}

// A writer still waiting for the reader's cue (the reader gave up before
// giving it) need not wait out its time-out.
void WakeWriter(const std::wstring& guid) {
    const UniqueHandle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, GuidFileMapping::BuildMappingObjectName(guid, L"_Event").c_str()));
    if (event.valid()) SetEvent(event.get());
}

void RunSegmentCase(std::string_view bytes) {
    static const std::wstring base = L"fuzz-" + FreshGuidText();
    static uint64_t counter = 0;
    fuzz::CaseReader in(bytes);
    const SegmentCase c = ReadCase(in, base + L"-" + std::to_wstring(counter++));

    const UniqueHandle decoy = CreateDecoy(c);
    std::promise<void> ready;
    std::thread writer([&] { RunWriter(c, ready); });
    ready.get_future().wait();

    const auto started = std::chrono::steady_clock::now();
    const std::wstring read = GuidFileMapping::ReadData(c.guid, c.readerTimeoutMs);
    const auto tookMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started).count();
    WakeWriter(c.guid);
    writer.join();

    EXPECT_LE(tookMs, static_cast<long long>(c.readerTimeoutMs) + 3000) << "the reader outlived its time-out";
    if (WriterBehavesWell(c)) {
        EXPECT_TRUE(read == ExpectedRead(c)) << "header " << c.header << ", " << read.size() << " characters read";
    }
}

TEST(SharedSegmentFuzz, ReaderSurvivesEveryWriter) { fuzz::RunCampaign(kSurface, RunSegmentCase); }

}  // namespace
