// The loopback collector as a program, for the demo script:
//   ReportCollector.exe <port, 0 for any> <seconds, 0 until killed> <output file>
// Prints "listening on 127.0.0.1:PORT", then one line per request it reads,
// and appends every accepted report's message object to the output file as
// one line of compact JSON.
#include <chrono>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <fstream>
#include <optional>
#include <string>

#include "LoopbackCollector.h"
#include "ReportBody.h"

namespace {

int Usage() {
    std::fputs("usage: ReportCollector.exe <port, 0 for any> <seconds, 0 until killed> <output file>\n", stderr);
    return 2;
}

std::optional<unsigned long> ParseNumber(const wchar_t* text, unsigned long max) {
    wchar_t* end = nullptr;
    const unsigned long value = std::wcstoul(text, &end, 10);
    if (end == text || *end != L'\0' || value > max) return std::nullopt;
    return value;
}

void PrintRequest(const LoopbackCollector::ReceivedReport& request) {
    std::printf("%s %s: %s\n", request.method.c_str(), request.path.c_str(),
                request.problem.empty() ? "report" : request.problem.c_str());
    std::fflush(stdout);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 4) return Usage();
    const auto port = ParseNumber(argv[1], 65535);
    const auto seconds = ParseNumber(argv[2], 24 * 3600);
    if (!port || !seconds) return Usage();
    std::ofstream output(argv[3], std::ios::binary | std::ios::app);
    if (!output) {
        std::fprintf(stderr, "cannot open the output file\n");
        return 1;
    }
    try {
        LoopbackCollector collector(static_cast<unsigned short>(*port));
        std::printf("listening on 127.0.0.1:%u\n", collector.Port());
        std::fflush(stdout);

        using Clock = std::chrono::steady_clock;
        const auto deadline = *seconds == 0 ? Clock::time_point::max() : Clock::now() + std::chrono::seconds(*seconds);
        size_t printed = 0, written = 0;
        while (Clock::now() < deadline) {
            collector.WaitForReceived(printed + 1, 200);
            const auto received = collector.Received();
            for (; printed < received.size(); ++printed) PrintRequest(received[printed]);
            const auto accepted = collector.Accepted();
            for (; written < accepted.size(); ++written) output << CompactJson(accepted[written].message) << '\n';
            output.flush();
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
