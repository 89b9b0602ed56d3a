// Looks into the report queue of the module for the people who support the client:
//   ReportQueueViewer.exe list [folder]
//   ReportQueueViewer.exe show <file>
//   ReportQueueViewer.exe drain <url> [folder] [--aid <device id>]
// Exit codes: 0 done, 1 usage, 2 no such folder or the file is not a readable report.
// Only drain changes the queue, and only through the module's own upload.
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "ViewerCommands.h"
#include "ViewerText.h"
#include "QuorvelReportBody.h"

namespace {

int Usage() {
    std::fputs(
        "usage: ReportQueueViewer.exe list [folder]\n"
        "       ReportQueueViewer.exe show <file>\n"
        "       ReportQueueViewer.exe drain <url> [folder] [--aid <device id>]\n"
        "The folder defaults to this user's report queue.\n",
        stderr);
    return viewer::kUsage;
}

struct DrainArguments {
    std::wstring url;
    std::optional<std::wstring> folder;
    std::optional<std::string> aid;
};

std::optional<DrainArguments> ParseDrainArguments(const std::vector<std::wstring>& arguments) {
    DrainArguments parsed;
    std::vector<std::wstring> positional;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == L"--aid") {
            if (i + 1 == arguments.size() || parsed.aid) return std::nullopt;
            parsed.aid = viewer::Utf8(arguments[++i]);
        } else {
            positional.push_back(arguments[i]);
        }
    }
    if (positional.empty() || positional.size() > 2) return std::nullopt;
    parsed.url = positional[0];
    if (positional.size() == 2) parsed.folder = positional[1];
    return parsed;
}

int Drain(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseDrainArguments(arguments);
    if (!parsed) return Usage();
    const std::string aid = parsed->aid.value_or(quorvel::ReportDeviceId());
    if (aid.empty()) {
        std::fputs("the host has no device identifier and the module sends nothing without one: pass --aid\n", stderr);
        return viewer::kUsage;
    }
    return viewer::DrainQueue(parsed->url, parsed->folder.value_or(viewer::DefaultQueueFolder()), aid);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 2) return Usage();
    const std::wstring command = argv[1];
    const std::vector<std::wstring> arguments(argv + 2, argv + argc);
    try {
        if (command == L"list" && arguments.size() <= 1) {
            return viewer::ListQueue(arguments.empty() ? viewer::DefaultQueueFolder() : arguments[0]);
        }
        if (command == L"show" && arguments.size() == 1) return viewer::ShowReport(arguments[0]);
        if (command == L"drain") return Drain(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "failed: %s\n", error.what());
        return viewer::kNotFound;
    }
    return Usage();
}
