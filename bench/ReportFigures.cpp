#include "ReportFigures.h"

#include <windows.h>

#include <fmt/format.h>

#include <filesystem>
#include <functional>
#include <stdexcept>

#include "AsyncWait.h"
#include "BareHttp.h"
#include "BareReportFiles.h"
#include "BenchEnvironment.h"
#include "LoopbackCollector.h"
#include "ProcessMemory.h"
#include "QuorvelBuildSettings.h"
#include "QuorvelReportUtils.h"
#include "UniqueHandle.h"

namespace {

constexpr char kDeviceId[] = "bench-device";
constexpr int kReportsPerSample = 20;
constexpr int kDrainReports = 1000;
// Past the module's 10-second POST time-out; the collector gives the answer up when it stops.
constexpr unsigned kLateAnswerMs = 20000;
constexpr double kPostTimeoutSeconds = 10.0;

std::string SampleBody() {
    quorvel::ErrorEventInfo record;
    record.event_name = "install";
    record.sub_event_name = "add_package";
    record.error_code = -2147024891;
    record.function_name = "RunInstallJob";
    record.error_message = "Access is denied.";
    record.new_version = "1.2.3.0";
    return quorvel::BuildReportBody(quorvel::kLevelError, quorvel::ToEventObject(record), kDeviceId,
                                    quorvel::kReporterVersion, quorvel::kSdkIdentifier);
}

// The collector on loopback, and the simulated HTTP client pointed at it
// under the collector's real host name, as the module posts in production.
class CollectorOnLoopback {
public:
    CollectorOnLoopback()
        : hosts_(L"SIMRUNTIME_HTTP_HOSTS", collector_.HostMapping(quorvel::build_settings::kCollectorHost)) {}
    LoopbackCollector& collector() { return collector_; }
    std::wstring url() const { return quorvel::build_settings::kCollectorUrl; }

private:
    LoopbackCollector collector_;
    ScopedEnvironmentVariable hosts_;
};

std::vector<std::uint8_t> ReadWholeFile(const std::wstring& path) {
    const UniqueHandle file(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size = {};
    if (!file.valid() || !GetFileSizeEx(file.get(), &size)) throw std::runtime_error("cannot read a claimed report");
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) || read != bytes.size()) {
        throw std::runtime_error("cannot read a claimed report");
    }
    return bytes;
}

// Everything one report costs on this machine before the network.
void RunLocalReportPath(const std::wstring& folder, const std::string& body) {
    const std::wstring path = quorvel::SaveEncryptedReport(folder, body);
    if (path.empty()) throw std::runtime_error("SaveEncryptedReport failed");
    const auto claimed = quorvel::ClaimReportFile(path);
    if (!claimed) throw std::runtime_error("ClaimReportFile failed");
    if (quorvel::DecryptReport(ReadWholeFile(*claimed)) != body) throw std::runtime_error("the report did not round-trip");
    if (!DeleteFileW(claimed->c_str())) throw std::runtime_error("cannot delete a claimed report");
}

void PostOnce(const std::wstring& url, const std::string& body) {
    if (!rt::wait_for_result(quorvel::HttpPostReportAsync(url, body, "bench").get())) {
        throw std::runtime_error("the loopback POST failed");
    }
}

double SecondsPerCall(const std::function<void()>& call) {
    return SecondsOf([&] {
               for (int i = 0; i < kReportsPerSample; ++i) call();
           }) /
           kReportsPerSample;
}

void CopyReports(const std::wstring& from, const std::wstring& to) {
    for (const auto& entry : std::filesystem::directory_iterator(from)) {
        std::filesystem::copy_file(entry.path(), std::filesystem::path(to) / entry.path().filename());
    }
}

std::size_t FilesIn(const std::wstring& folder) {
    const std::filesystem::directory_iterator files(folder);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

// The same work as RunLocalReportPath with bare calls.
void RunBareReportPath(const std::wstring& folder, const std::string& body) {
    const BareClaim claim = BareClaimAndRead(BareSave(folder, body));
    if (claim.body != body) throw std::runtime_error("the bare report did not round-trip");
    BareDelete(claim.path);
}

void BarePostOnce(unsigned short port, const std::string& request) {
    if (BarePost(port, request) != 200) throw std::runtime_error("the bare POST was not answered 200");
}

// What the drain does for each queued report, with bare calls: claim, read,
// decrypt, POST, delete; stops at the first POST not answered 200.
void RunBareDrain(const std::wstring& folder, unsigned short port) {
    for (const std::wstring& queued : BareQueuedFiles(folder)) {
        const BareClaim claim = BareClaimAndRead(queued);
        if (BarePost(port, ReportPostRequest(claim.body)) != 200) return;
        BareDelete(claim.path);
    }
}

// A folder holding a copy of `saved`; the drain's time without the copy.
double TimeDrainOfCopy(const std::wstring& saved, const std::function<void(const std::wstring&)>& drain) {
    const ScratchFolder queue(L"orvale-bench-drain");
    CopyReports(saved, queue.path());
    const double taken = SecondsOf([&] { drain(queue.path()); });
    if (FilesIn(queue.path()) != 0) throw std::runtime_error("the drain left reports queued");
    return taken;
}

void QueueReports(const std::wstring& folder) {
    const std::string body = SampleBody();
    for (int i = 0; i < kDrainReports; ++i) {
        if (quorvel::SaveEncryptedReport(folder, body).empty()) throw std::runtime_error("cannot queue a report");
    }
    if (FilesIn(folder) != kDrainReports) throw std::runtime_error("the queue is not complete");
}

// A round of the drain's memory figure: its own collector and folder, both gone when it returns.
void QueueAndDrainOnce() {
    CollectorOnLoopback loopback;
    const ScratchFolder queue(L"orvale-bench-drain-memory");
    QueueReports(queue.path());
    quorvel::UploadPendingReports(queue.path(), loopback.url(), kDeviceId);
    if (FilesIn(queue.path()) != 0) throw std::runtime_error("the drain left reports queued");
}

std::string RatioText(const PairedSamples& samples, const char* against) {
    return fmt::format("{:.2f}x {}", MedianOf(samples.ratio), against);
}

}  // namespace

FigureRow MeasureReportPathAgainstPost(const BenchSettings& settings) {
    CollectorOnLoopback loopback;
    const ScratchFolder folder(L"orvale-bench-path");
    const std::string body = SampleBody();
    // Warm-up: the first call of each loads classes and opens the first connection.
    RunLocalReportPath(folder.path(), body);
    PostOnce(loopback.url(), body);

    const PairedSamples samples = RepeatPaired(
        settings.repetitions, [&] { return SecondsPerCall([&] { RunLocalReportPath(folder.path(), body); }); },
        [&] { return SecondsPerCall([&] { PostOnce(loopback.url(), body); }); });
    return {"report path without the POST, per report (" + std::to_string(body.size()) + "-byte body)",
            DurationText(MedianOf(samples.measured)), DurationText(MedianOf(samples.baseline)) + " per loopback POST",
            fmt::format("{:.2f}x one POST", MedianOf(samples.ratio))};
}

FigureRow MeasureReportPathAgainstBare(const BenchSettings& settings) {
    const ScratchFolder folder(L"orvale-bench-bare-path");
    const std::string body = SampleBody();
    RunLocalReportPath(folder.path(), body);
    RunBareReportPath(folder.path(), body);
    const PairedSamples samples = RepeatPaired(
        settings.repetitions, [&] { return SecondsPerCall([&] { RunLocalReportPath(folder.path(), body); }); },
        [&] { return SecondsPerCall([&] { RunBareReportPath(folder.path(), body); }); });
    return {"report path without the POST, per report, against bare Win32 and CNG calls",
            DurationText(MedianOf(samples.measured)), DurationText(MedianOf(samples.baseline)) + " bare",
            RatioText(samples, "the bare sequence")};
}

FigureRow MeasurePostAgainstBare(const BenchSettings& settings) {
    CollectorOnLoopback loopback;
    const std::string body = SampleBody();
    const std::string request = ReportPostRequest(body);
    const unsigned short port = loopback.collector().Port();
    PostOnce(loopback.url(), body);
    BarePostOnce(port, request);
    const PairedSamples samples = RepeatPaired(
        settings.repetitions, [&] { return SecondsPerCall([&] { PostOnce(loopback.url(), body); }); },
        [&] { return SecondsPerCall([&] { BarePostOnce(port, request); }); });
    return {fmt::format("loopback POST through the module ({}-byte request)", request.size()),
            DurationText(MedianOf(samples.measured)),
            DurationText(MedianOf(samples.baseline)) + " bare Winsock POST, same collector",
            RatioText(samples, "the bare POST")};
}

FigureRow MeasureCollectorAgainstTrivialServer(const BenchSettings& settings) {
    LoopbackCollector collector;
    const TrivialHttpServer trivial;
    const std::string request = ReportPostRequest(SampleBody());
    BarePostOnce(collector.Port(), request);
    BarePostOnce(trivial.Port(), request);
    const PairedSamples samples = RepeatPaired(
        settings.repetitions, [&] { return SecondsPerCall([&] { BarePostOnce(collector.Port(), request); }); },
        [&] { return SecondsPerCall([&] { BarePostOnce(trivial.Port(), request); }); });
    return {"bare Winsock POST to the loopback collector", DurationText(MedianOf(samples.measured)),
            DurationText(MedianOf(samples.baseline)) + " to a trivial server",
            RatioText(samples, "the trivial server")};
}

FigureRow MeasureDrainThroughput(const BenchSettings& settings) {
    CollectorOnLoopback loopback;
    const ScratchFolder saved(L"orvale-bench-queue");
    QueueReports(saved.path());

    const unsigned short port = loopback.collector().Port();
    const PairedSamples samples = RepeatPaired(
        settings.slowRepetitions,
        [&] {
            return TimeDrainOfCopy(saved.path(), [&](const std::wstring& queue) {
                quorvel::UploadPendingReports(queue, loopback.url(), kDeviceId);
            });
        },
        [&] { return TimeDrainOfCopy(saved.path(), [&](const std::wstring& queue) { RunBareDrain(queue, port); }); });
    const double seconds = MedianOf(samples.measured);
    const double bareSeconds = MedianOf(samples.baseline);
    return {fmt::format("queue drain of {} reports", kDrainReports), DurationText(seconds),
            fmt::format("{} bare loop ({:.0f} reports/s)", DurationText(bareSeconds), kDrainReports / bareSeconds),
            fmt::format("{:.0f} reports/s, {}", kDrainReports / seconds, RatioText(samples, "the bare loop"))};
}

FigureRow MeasurePostTimeoutOvershoot(const BenchSettings& settings) {
    CollectorOnLoopback loopback;
    const std::string body = SampleBody();
    PostOnce(loopback.url(), body);  // warm-up, as for the ratio above
    const std::vector<double> elapsed = Repeat(settings.slowRepetitions, [&] {
        loopback.collector().QueueAnswer(LoopbackCollector::Answer::After(kLateAnswerMs));
        bool delivered = true;
        const double taken = SecondsOf(
            [&] { delivered = rt::wait_for_result(quorvel::HttpPostReportAsync(loopback.url(), body, "bench").get()); });
        if (delivered) throw std::runtime_error("the late POST did not time out");
        return taken;
    });
    return OvershootRow("POST time-out, collector answering after 20 s", kPostTimeoutSeconds, elapsed);
}

// One pass, not a median: the figure is about what the rounds leave behind.
FigureRow MeasureDrainMemory(const BenchSettings&) {
    const MemoryReading before = ReadProcessMemory();
    QueueAndDrainOnce();
    const MemoryReading afterFirst = ReadProcessMemory();
    QueueAndDrainOnce();
    const MemoryReading afterSecond = ReadProcessMemory();
    return {fmt::format("{}, {} reports queued and drained, twice", before.counter, kDrainReports),
            fmt::format("{} after the first round, {} after the second", SignedSizeText(afterFirst.bytes - before.bytes),
                        SignedSizeText(afterSecond.bytes - before.bytes)),
            "-",
            fmt::format("{:.0f} bytes per report in the second round",
                        static_cast<double>(afterSecond.bytes - afterFirst.bytes) / kDrainReports)};
}
