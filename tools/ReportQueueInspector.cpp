// Looks into the report queue of the module for the people who support the client:
//   ReportQueueInspector.exe list [folder]
//   ReportQueueInspector.exe show <file>
//   ReportQueueInspector.exe drain <url> [folder] [--aid <device id>]
// Exit codes: 0 done, 1 usage, 2 no such folder or the file is not a readable report.
// Only drain changes the queue, and only through the module's own upload.
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "InspectorCommands.h"
#include "InspectorText.h"
#include "QuorvelReportBody.h"

namespace {

int Usage() {
    std::fputs(
        "usage: ReportQueueInspector.exe list [folder]\n"
        "       ReportQueueInspector.exe show <file>\n"
        "       ReportQueueInspector.exe drain <url> [folder] [--aid <device id>]\n"
        "The folder defaults to this user's report queue.\n",
        stderr);
    return inspector::kUsage;
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
            parsed.aid = inspector::Utf8(arguments[++i]);
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
        return inspector::kUsage;
    }
    return inspector::DrainQueue(parsed->url, parsed->folder.value_or(inspector::DefaultQueueFolder()), aid);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 2) return Usage();
    const std::wstring command = argv[1];
    const std::vector<std::wstring> arguments(argv + 2, argv + argc);
    try {
        if (command == L"list" && arguments.size() <= 1) {
            return inspector::ListQueue(arguments.empty() ? inspector::DefaultQueueFolder() : arguments[0]);
        }
        if (command == L"show" && arguments.size() == 1) return inspector::ShowReport(arguments[0]);
        if (command == L"drain") return Drain(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "failed: %s\n", error.what());
        return inspector::kNotFound;
    }
    return Usage();
}
