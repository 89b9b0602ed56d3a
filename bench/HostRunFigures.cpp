#include "HostRunFigures.h"

#include <windows.h>

#include <fmt/format.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "BenchEnvironment.h"
#include "ChildProcess.h"
#include "HostLog.h"
#include "QuorvelReportUtils.h"
#include "UniqueHandle.h"

namespace {

// What the module's closing flush writes, line for line.
constexpr int kFlushLineCount = 200;
constexpr wchar_t kFlushFunction[] = L"`anonymous-namespace'::FlushLogData";

std::function<double()> TimedRun(const std::wstring& commandLine) {
    return [commandLine] {
        DWORD exitCode = 0;
        const double seconds = SecondsOf([&] { exitCode = RunChildToEnd(commandLine); });
        if (exitCode != 0) throw std::runtime_error(fmt::format("a host run ended with exit code {}", exitCode));
        return seconds;
    };
}

bool IsEmptyFolder(const std::wstring& folder) {
    return !folder.empty() && std::filesystem::is_empty(std::filesystem::path(folder));
}

void WriteFlushLinesThroughHelper() {
    for (int i = 0; i < kFlushLineCount; ++i) HOST_LOG_INFO(kFlushFunction, L"[{}]flush async log queue...", kFlushFunction);
}

// The line the stand-alone logger makes of one flush call.
std::string FlushLineBytes() {
    return fmt::format("1\t{}\t{}\t`anonymous-namespace'::FlushLogData\t[`anonymous-namespace'::FlushLogData]flush "
                       "async log queue...\n",
                       __FILE__, __LINE__);
}

UniqueHandle OpenForAppending(const std::wstring& path) {
    UniqueHandle file(CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) throw std::runtime_error("cannot open a file to write lines to");
    return file;
}

void WriteLinesToFile(HANDLE file, const std::string& line) {
    for (int i = 0; i < kFlushLineCount; ++i) {
        DWORD written = 0;
        if (!WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr)) {
            throw std::runtime_error("cannot write a line");
        }
    }
}

}  // namespace

FigureRow MeasureDoNothingRunAgainstBareLoad(const BenchSettings& settings) {
    // The closing drain posts what the user's queue holds; a run that does nothing finds it empty.
    if (!IsEmptyFolder(quorvel::GetReportDirectory())) {
        throw std::runtime_error("the report queue of this Wine prefix is not empty");
    }
    const std::wstring folder = BinaryFolder();
    const auto doNothing = TimedRun(L"\"" + folder + L"OrvaleHost.exe\" -type 0");
    const auto bareLoad = TimedRun(L"\"" + folder + L"BareModuleHost.exe\"");
    // Warm-up: the first start of each program reads its files from disk.
    doNothing();
    bareLoad();
    const PairedSamples samples = RepeatPaired(settings.repetitions, doNothing, bareLoad);
    return {"OrvaleHost.exe -type 0 (does nothing), child process", DurationText(MedianOf(samples.measured)),
            DurationText(MedianOf(samples.baseline)) + " to load the module and return",
            fmt::format("{:.2f}x the bare load", MedianOf(samples.ratio))};
}

FigureRow MeasureFlushLines(const BenchSettings& settings) {
    const ScratchFolder folder(L"orvale-bench-lines");
    const UniqueHandle file = OpenForAppending(folder.path() + L"lines.txt");
    const std::string line = FlushLineBytes();
    WriteFlushLinesThroughHelper();  // warm-up: the logger opens its file at the first line
    const PairedSamples samples = RepeatPaired(
        settings.repetitions, [] { return SecondsOf(WriteFlushLinesThroughHelper); },
        [&] { return SecondsOf([&] { WriteLinesToFile(file.get(), line); }); });
    const double seconds = MedianOf(samples.measured);
    return {fmt::format("{} flush lines through HostLog.h and the stand-alone logger", kFlushLineCount),
            fmt::format("{} ({} a line)", DurationText(seconds), DurationText(seconds / kFlushLineCount)),
            DurationText(MedianOf(samples.baseline)) + " to write the same bytes with WriteFile",
            fmt::format("{:.2f}x the bare writes", MedianOf(samples.ratio))};
}
