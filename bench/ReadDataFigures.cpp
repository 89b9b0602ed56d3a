#include "ReadDataFigures.h"

#include <windows.h>

#include <fmt/format.h>

#include <atomic>
#include <cstring>
#include <future>
#include <stdexcept>
#include <string>

#include "GuidFileMappingReader.h"
#include "PushSegmentWriter.h"

namespace {

// The largest even size the reader accepts (its limit is 10 MiB less one byte).
constexpr uint32_t kSegmentContentBytes = GuidFileMapping::kMaxContentBytes - 1;
constexpr std::size_t kSegmentChars = kSegmentContentBytes / sizeof(wchar_t);
constexpr DWORD kReadTimeoutMs = 300;

std::wstring FreshGuid() {
    static std::atomic<unsigned> made{0};
    return fmt::format(L"bench-{}-{}", GetCurrentProcessId(), ++made);
}

// Seconds the reader took on a thread of its own; throws unless it returned `expectedChars` characters.
double TimeReadData(const std::wstring& guid, DWORD timeoutMs, std::size_t expectedChars) {
    return std::async(std::launch::async, [&] {
               std::wstring content;
               const double seconds = SecondsOf([&] { content = GuidFileMapping::ReadData(guid, timeoutMs); });
               if (content.size() != expectedChars) {
                   throw std::runtime_error(fmt::format("ReadData returned {} characters", content.size()));
               }
               return seconds;
           })
        .get();
}

double TimeBareCopy(const std::wstring& guid) {
    std::wstring content;
    const double seconds = SecondsOf([&] {
        const UniqueHandle mapping(
            OpenFileMappingW(FILE_MAP_READ, FALSE, GuidFileMapping::BuildMappingObjectName(guid, L"_FM").c_str()));
        const MappedView view(mapping.valid() ? MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0) : nullptr);
        if (view.get() == nullptr) throw std::runtime_error("cannot map the segment");
        uint32_t contentBytes = 0;
        std::memcpy(&contentBytes, view.get(), sizeof(contentBytes));
        content.assign(reinterpret_cast<const wchar_t*>(static_cast<const char*>(view.get()) + sizeof(contentBytes)),
                       contentBytes / sizeof(wchar_t));
    });
    if (content.size() != kSegmentChars) throw std::runtime_error("the bare copy is incomplete");
    return seconds;
}

}  // namespace

FigureRow MeasureReadDataAgainstCopy(const BenchSettings& settings) {
    const std::wstring guid = FreshGuid();
    PushSegmentWriter writer(guid, kSegmentContentBytes);
    if (!writer.ok()) throw std::runtime_error("cannot create the segment");
    writer.Write(kSegmentContentBytes, std::string(kSegmentContentBytes, 'x'));
    writer.ReleaseLock();
    // Warm-up: the first reads fault the segment's pages in.
    TimeReadData(guid, kReadTimeoutMs, kSegmentChars);
    TimeBareCopy(guid);
    const PairedSamples samples = RepeatPaired(
        settings.repetitions, [&] { return TimeReadData(guid, kReadTimeoutMs, kSegmentChars); },
        [&] { return TimeBareCopy(guid); });
    return {"GuidFileMapping::ReadData of a 10 MiB segment", DurationText(MedianOf(samples.measured)),
            DurationText(MedianOf(samples.baseline)) + " to open, map and copy it bare",
            fmt::format("{:.2f}x the bare copy", MedianOf(samples.ratio))};
}

FigureRow MeasureReadDataTimeoutOvershoot(const BenchSettings& settings) {
    const std::vector<double> elapsed = Repeat(settings.repetitions, [] {
        const std::wstring guid = FreshGuid();
        // The writer's mutex starts owned by this thread and is never released.
        PushSegmentWriter writer(guid, sizeof(wchar_t));
        if (!writer.ok()) throw std::runtime_error("cannot create the segment");
        return TimeReadData(guid, kReadTimeoutMs, 0);
    });
    return OvershootRow("ReadData time-out, writer never lets go", kReadTimeoutMs / 1000.0, elapsed);
}
