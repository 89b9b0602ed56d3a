#include <gtest/gtest.h>

#include "HostSandbox.h"

#include <windows.h>

#include "Eventually.h"

namespace {
void CopyBinary(const std::wstring& name, const std::wstring& target) {
    const std::wstring source = BinaryFolder() + L"\\" + name;
    if (!CopyFileW(source.c_str(), target.c_str(), FALSE)) {
        ADD_FAILURE() << "cannot copy " << WideToUtf8Text(source) << ": " << GetLastError();
    }
}
}  // namespace

HostSandbox::HostSandbox() : HostSandbox(Options()) {}

HostSandbox::HostSandbox(Options options) : options_(std::move(options)) {
    CopyBinary(L"OrvaleHost.exe", hostPath());
    CopyBinary(L"NotificationAPI.dll", folder_ / L"NotificationAPI.dll");
    CopyBinary(L"OrvaleHostStandalone.dll", folder_ / L"OrvaleHostStandalone.dll");
    if (options_.withService) CopyBinary(L"OrvaleService.exe", servicePath());
}

HostRun HostSandbox::Run(const std::wstring& arguments, EnvironmentOverrides environment) {
    DeleteFileW(logPath().c_str());
    environment.emplace(L"ORVALE_STANDALONE_LOG", logPath());
    environment.emplace(L"ORVALE_STANDALONE_SERVICE_RECORD", serviceRecordPath());
    environment.emplace(L"ORVALE_STANDALONE_APPDATA", appDataPath());
    // Without a device identifier the closing drain leaves the prefix's one
    // report folder alone; tests of the report road give one.
    environment.emplace(L"ORVALE_STANDALONE_DEVICE_GUID", L"");
    HostRun run;
    const std::wstring commandLine = L"\"" + hostPath() + L"\"" + (arguments.empty() ? L"" : L" " + arguments);
    run.process = RunProcess(commandLine, environment);
    run.log = ReadHostLog(logPath());
    return run;
}

std::vector<std::string> HostSandbox::ServiceCommandLines(unsigned timeoutMs) const {
    // The detached service writes its record after the host has ended.
    const auto written = [&] { return !ReadFileBytes(serviceRecordPath()).empty(); };
    Eventually(written, std::chrono::milliseconds(timeoutMs));
    return TextLines(ReadFileBytes(serviceRecordPath()));
}

::testing::AssertionResult EndsWithFlushLines(const std::vector<HostLogLine>& log) {
    static const std::string kFunction = "`anonymous-namespace'::FlushLogData";
    static const std::string kMessage = "[" + kFunction + "]flush async log queue...";
    int flushLines = 0;
    for (const auto& line : log) {
        if (line.message == kMessage) ++flushLines;
    }
    if (flushLines != HostSandbox::kFlushLineCount) {
        return ::testing::AssertionFailure() << flushLines << " flush lines instead of " << HostSandbox::kFlushLineCount;
    }
    for (size_t i = log.size() - HostSandbox::kFlushLineCount; i < log.size(); ++i) {
        if (log[i].message != kMessage || log[i].level != 1 || log[i].function != kFunction) {
            return ::testing::AssertionFailure() << "line " << i << " of the closing phase is: " << log[i].message;
        }
    }
    return ::testing::AssertionSuccess();
}
