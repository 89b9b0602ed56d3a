#include "SparsePackageWrapperMgr.h"

#include <shlwapi.h>

#include <vector>

#include "Business.h"
#include "CommandLine.h"
#include "GuidFileMappingReader.h"
#include "HostLog.h"
#include "OrvaleBase.h"
#include "PackageJobs.h"
#include "ReportDrain.h"
#include "RuntimeError.h"
#include "ZoLog.h"

namespace {

constexpr wchar_t kEntryFunction[] = L"Orvale_LoadModule_WinMain";
constexpr wchar_t kActionFunction[] = L"HandleActionEntry";
constexpr wchar_t kRawNotificationAction[] = L"raw-notification";
constexpr wchar_t kServiceExecutable[] = L"OrvaleService.exe";
constexpr DWORD kReadDataTimeoutMs = 10000;
// The host logger writes asynchronously and has no flush call: this many
// filler lines push every earlier line of the run through its queue.
constexpr int kFlushLineCount = 200;

std::wstring JoinPath(const std::wstring& folder, const wchar_t* fileName) {
    if (folder.empty() || folder.back() == L'\\' || folder.back() == L'/') return folder + fileName;
    return folder + L'\\' + fileName;
}

// Detached, in its own process group, never waited for.
void StartServiceProcess(const std::wstring& commandLine) {
    std::vector<wchar_t> writable(commandLine.begin(), commandLine.end());
    writable.push_back(L'\0');
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, writable.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP,
                        nullptr, nullptr, &startup, &process)) {
        HOST_LOG_ERROR(kActionFunction, L"[{}]Failed to start OrvaleService.exe, error={}", kActionFunction,
                       GetLastError());
        return;
    }
    HOST_LOG_INFO(kActionFunction, L"[{}]OrvaleService.exe started successfully, pid={}", kActionFunction,
                  process.dwProcessId);
    UniqueHandle thread(process.hThread);
    UniqueHandle processHandle(process.hProcess);
}

void FlushLogData() {
    DrainReports();
    static constexpr wchar_t kFunction[] = L"`anonymous-namespace'::FlushLogData";
    for (int i = 0; i < kFlushLineCount; ++i) HOST_LOG_INFO(kFunction, L"[{}]flush async log queue...", kFunction);
}

void RunRawNotificationAction(const std::wstring& action, const std::wstring& guid);

void RunPackageJob() {
    const std::wstring type = GetCommandLineParam(L"type");
    if (type.empty()) {
        HOST_LOG_ERROR(kEntryFunction, L"[{}]Orvale_LoadModule_WinMain: neither -action nor -type parameter found",
                       kEntryFunction);
        return;
    }
    const int job = ParseSwitchNumber(type);
    HOST_LOG_INFO(kEntryFunction, L"[{}]Orvale_LoadModule_WinMain: type={}", kEntryFunction, job);
    switch (job) {
        case 1: RunInstallJob(); break;
        case 2: RunUninstallJob(); break;
        case 3: RunMaintenanceJob(); break;
        default:
            HOST_LOG_WARN(kEntryFunction, L"[{}]Orvale_LoadModule_WinMain: unsupported type={}", kEntryFunction, job);
            break;
    }
}

}  // namespace

void HandleActionEntry(const std::wstring& action, const std::wstring& guid) {
    try {
        RunRawNotificationAction(action, guid);
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kActionFunction, L"[{}]HandleActionEntry exception, hr=0x{:08X}, msg={}", kActionFunction,
                       host_log::Hex(e.code()), e.message());
    } catch (...) {
        HOST_LOG_ERROR(kActionFunction, L"[{}]HandleActionEntry unknown exception", kActionFunction);
    }
}

namespace {

void RunRawNotificationAction(const std::wstring& action, const std::wstring& guid) {
    HOST_LOG_INFO(kActionFunction, L"[{}]HandleActionEntry: action={}, guid={}", kActionFunction, action, guid);
    if (action != kRawNotificationAction) {
        HOST_LOG_WARN(kActionFunction, L"[{}]HandleActionEntry: unknown action={}", kActionFunction, action);
        return;
    }
    if (guid.empty()) {
        HOST_LOG_WARN(kActionFunction, L"[{}]-action raw-notification: no guid provided", kActionFunction);
        return;
    }
    const std::wstring data = GuidFileMapping::ReadData(guid, kReadDataTimeoutMs);
    if (data.empty()) {
        HOST_LOG_WARN(kActionFunction, L"[{}]-action raw-notification: ReadData returned empty", kActionFunction);
        return;
    }
    HOST_LOG_INFO(kActionFunction, L"[{}]-action raw-notification: received data, length={}", kActionFunction,
                  data.size());

    const std::string pbBase64 = business::OnReceivePushFromWns(data.c_str(), data.size());
    const std::wstring folder = base::GetModuleFolder(nullptr);
    if (pbBase64.empty()) {
        HOST_LOG_WARN(kActionFunction, L"[{}]pbBase64 is empty, skip starting OrvaleService.exe", kActionFunction);
        return;
    }
    const std::wstring exePath = JoinPath(folder, kServiceExecutable);
    if (PathFileExistsW(exePath.c_str()) != TRUE) {
        HOST_LOG_WARN(kActionFunction, L"[{}]OrvaleService.exe not found at path={}", kActionFunction, exePath);
        return;
    }
    // The service parses its own URI: the message goes in unescaped, deliberately.
    const std::wstring command = fmt::format(L"\"{}\" orvale://NotifyPushTopic/fromchannel=wns&msgcontent={}", exePath,
                                             host_log::Wide(pbBase64));
    HOST_LOG_INFO(kActionFunction, L"[{}]command = {}", kActionFunction, command);
    StartServiceProcess(command);
}

}  // namespace

extern "C" void Orvale_LoadModule_WinMain(HINSTANCE instance, HINSTANCE previousInstance, LPWSTR commandLine,
                                          int showCommand) {
    try {
        InitLogModule(instance, previousInstance, commandLine, showCommand);
    } catch (...) {
        // The job runs without its log rather than not at all.
    }
    try {
        const std::wstring action = GetCommandLineParam(L"action");
        if (!action.empty()) {
            HandleActionEntry(action, GetCommandLineParam(L"guid"));
        } else {
            RunPackageJob();
        }
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kEntryFunction, L"[{}]Orvale_LoadModule_WinMain exception, hr=0x{:08X}, msg={}", kEntryFunction,
                       host_log::Hex(e.code()), e.message());
    } catch (...) {
        HOST_LOG_ERROR(kEntryFunction, L"[{}]Orvale_LoadModule_WinMain unknown exception", kEntryFunction);
    }
    // Outside the guard: a failed join of a report thread is the one error
    // that leaves the entry.
    FlushLogData();
}
