#pragma once
// A private copy of the stand-alone host installation in a temporary folder:
// host executable, module, host libraries and (optionally) the service
// stand-in, each run with its own log, service record and data folder.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostLogFile.h"
#include "TempFolder.h"
#include "TestProcess.h"

struct HostRun {
    ProcessResult process;
    std::vector<HostLogLine> log;  // the whole log of this run
};

class HostSandbox {
public:
    struct Options {
        bool withService = true;
        std::wstring hostFileName = L"OrvaleHost.exe";
    };

    HostSandbox();
    explicit HostSandbox(Options options);

    // Runs the host with `arguments` and returns once it has exited.
    HostRun Run(const std::wstring& arguments, EnvironmentOverrides environment = {});

    const std::wstring& folder() const { return folder_.path(); }
    std::wstring hostPath() const { return folder_ / options_.hostFileName; }
    std::wstring servicePath() const { return folder_ / L"OrvaleService.exe"; }
    std::wstring logPath() const { return folder_ / L"host.log"; }
    std::wstring serviceRecordPath() const { return folder_ / L"service-record.txt"; }
    std::wstring appDataPath() const { return folder_ / L"appdata"; }

    // Command lines the service stand-in recorded (waits up to timeoutMs for the first).
    std::vector<std::string> ServiceCommandLines(unsigned timeoutMs = 5000) const;

    // The closing phase: exactly this many filler lines end every run.
    static constexpr int kFlushLineCount = 200;

private:
    TempFolder folder_;
    Options options_;
};

// The run ended with the closing phase: exactly 200 filler lines, last.
::testing::AssertionResult EndsWithFlushLines(const std::vector<HostLogLine>& log);
