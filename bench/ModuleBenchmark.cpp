// Measures costs of the module side by side in one run, each figure the median
// of several repetitions:
//   ModuleBenchmark.exe [--repetitions N] [--slow-repetitions N] [--only <text in a figure's name>]
// It needs the simulated runtime of a Wine session (see README.md). A figure
// that fails is printed as failed; the exit code is then 1 (2 for bad options).
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <exception>
#include <optional>
#include <string>

#include "BenchEnvironment.h"
#include "BenchTable.h"
#include "HostRunFigures.h"
#include "Measure.h"
#include "MemoryFigures.h"
#include "PackageFigures.h"
#include "ReadDataFigures.h"
#include "ReportFigures.h"

namespace {

struct Figure {
    const wchar_t* name;
    FigureRow (*measure)(const BenchSettings&);
};

// New figures go here, one function each.
constexpr Figure kFigures[] = {
    {L"read-data", &MeasureReadDataAgainstCopy},
    {L"do-nothing-run", &MeasureDoNothingRunAgainstBareLoad},
    {L"flush-lines", &MeasureFlushLines},
    {L"report-path", &MeasureReportPathAgainstPost},
    {L"bare-report-path", &MeasureReportPathAgainstBare},
    {L"bare-post", &MeasurePostAgainstBare},
    {L"collector", &MeasureCollectorAgainstTrivialServer},
    {L"drain", &MeasureDrainThroughput},
    {L"read-data-timeout", &MeasureReadDataTimeoutOvershoot},
    {L"install-timeout", &MeasureInstallTimeoutOvershoot},
    {L"uninstall-timeout", &MeasureUninstallTimeoutOvershoot},
    {L"post-timeout", &MeasurePostTimeoutOvershoot},
    {L"push-box-memory", &MeasurePushBoxMemory},
    {L"push-box-memory-all-kept", &MeasurePushBoxMemoryAllKept},
    {L"drain-memory", &MeasureDrainMemory},
};

struct Options {
    BenchSettings settings;
    std::wstring only;
};

int Usage() {
    std::fputs("usage: ModuleBenchmark.exe [--repetitions N] [--slow-repetitions N] [--only <figure>]\nfigures:", stderr);
    for (const Figure& figure : kFigures) std::fprintf(stderr, " %ls", figure.name);
    std::fputs("\n", stderr);
    return 2;
}

std::optional<int> ParseCount(const wchar_t* text) {
    wchar_t* end = nullptr;
    const long count = std::wcstol(text, &end, 10);
    if (end == text || *end != L'\0' || count < 1 || count > 100) return std::nullopt;
    return static_cast<int>(count);
}

std::optional<Options> ParseOptions(int argc, wchar_t** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::wstring name = argv[i];
        if (name == L"--repetitions" || name == L"--slow-repetitions") {
            const auto count = ParseCount(argv[i + 1]);
            if (!count) return std::nullopt;
            (name == L"--repetitions" ? options.settings.repetitions : options.settings.slowRepetitions) = *count;
        } else if (name == L"--only") {
            options.only = argv[i + 1];
        } else {
            return std::nullopt;
        }
    }
    if (argc % 2 == 0) return std::nullopt;
    return options;
}

FigureRow Failed(const Figure& figure, const std::string& why) {
    char name[64] = {};
    std::snprintf(name, sizeof(name), "%ls", figure.name);
    return {name, "failed", "-", why};
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const auto options = ParseOptions(argc, argv);
    if (!options) return Usage();
    // The module logs every step; its lines go to a file that goes away with the run.
    const ScratchFolder logFolder(L"orvale-bench-log");
    const ScopedEnvironmentVariable log(L"ORVALE_STANDALONE_LOG", logFolder.path() + L"host.log");

    std::printf("median of %d repetitions (%d for figures that take seconds)\n\n", options->settings.repetitions,
                options->settings.slowRepetitions);
    std::fflush(stdout);
    BenchTable table({"figure", "measured", "against", "result"});
    bool allMeasured = true;
    for (const Figure& figure : kFigures) {
        if (!options->only.empty() && std::wcsstr(figure.name, options->only.c_str()) == nullptr) continue;
        try {
            table.AddFigure(figure.measure(options->settings));
        } catch (const std::exception& error) {
            table.AddFigure(Failed(figure, error.what()));
            allMeasured = false;
        }
    }
    std::fputs(table.Text().c_str(), stdout);
    return allMeasured ? 0 : 1;
}
