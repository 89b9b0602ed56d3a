#include "PackageJobs.h"

#include <cstdint>
#include <string>

#include "BackgroundTaskRegistration.h"
#include "CommandLine.h"
#include "HostLog.h"
#include "KivAgentWrapper.h"
#include "NotificationPackageManager.h"
#include "OsVersion.h"
#include "PackageIdentityUtils.h"
#include "QuorvelReportUtils.h"

namespace {

constexpr wchar_t kEntryFunction[] = L"Orvale_LoadModule_WinMain";
constexpr std::uint32_t kDefaultTimeoutMs = 10000;

constexpr char kExperimentCheckEvent[] = "msix_install_kiv_check";
constexpr char kInstallEvent[] = "msix_install";
constexpr char kUninstallEvent[] = "msix_uninstall";

// Only an absent or empty switch takes the default: text without digits is 0 ms.
std::uint32_t TimeoutSwitch() {
    const std::wstring value = GetCommandLineParam(L"timeout");
    return value.empty() ? kDefaultTimeoutMs : static_cast<std::uint32_t>(ParseSwitchNumber(value));
}

bool OsBuildIsSupported() {
    if (IsSupportedOsBuild()) return true;
    HOST_LOG_WARN(kEntryFunction, L"[{}]Orvale_LoadModule_WinMain: OS build < 19041", kEntryFunction);
    return false;
}

void ReportExperimentCheck(const char* subEvent, const char* source, std::int32_t installToggle) {
    quorvel::ToggleEventInfo record;
    record.event_name = kExperimentCheckEvent;
    record.sub_event_name = subEvent;
    record.source = source;
    record.install_toggle = installToggle;
    quorvel::ReportToggleEventAsync(record);
}

// Failures name the package function that failed and carry no new version.
void ReportPackageOperation(const char* eventName, const std::string& subEvent, HRESULT hr,
                            const char* failedFunction, const std::string& oldVersion, const std::string& newVersion) {
    quorvel::ErrorEventInfo record;
    record.event_name = eventName;
    record.sub_event_name = subEvent;
    record.error_code = hr;
    record.old_version = oldVersion;
    if (FAILED(hr)) {
        record.function_name = failedFunction;
    } else {
        record.new_version = newVersion;
    }
    quorvel::ReportEvent(FAILED(hr) ? quorvel::kLevelError : quorvel::kLevelInfo, record);
}

// The experiment is read before the OS is checked, so that its result is
// reported also from systems that cannot take the package.
int ReadAndReportInstallSwitch() {
    ReportExperimentCheck("start", "", 0);
    KivAgentWrapper experiments;
    const int installSwitch =
        experiments.Lookup(L"pc_bg_task_wakeup_config", L"pc_bg_enable_install_notification_package");
    ReportExperimentCheck("result", experiments.SourceName(), installSwitch);
    return installSwitch;
}

void LogNonFatalRegistrationFailure(bool registered) {
    if (!registered) {
        HOST_LOG_WARN(kEntryFunction, L"[{}]RegisterBackgroundTask failed (non-fatal)", kEntryFunction);
    }
}

}  // namespace

void RunInstallJob() {
    const int installSwitch = ReadAndReportInstallSwitch();
    if (!OsBuildIsSupported()) return;
    // Opt-in: an unset experiment does not install.
    if (installSwitch != 1) {
        HOST_LOG_INFO(kEntryFunction, L"[{}]not install.", kEntryFunction);
        return;
    }
    const std::uint32_t timeoutMs = TimeoutSwitch();
    const std::wstring installDir = GetCommandLineParam(L"install_dir");
    HOST_LOG_INFO(kEntryFunction, L"[{}]Orvale_LoadModule_WinMain: type=1, timeoutMs={}, install_dir='{}'",
                  kEntryFunction, timeoutMs, installDir);

    const std::string oldVersion = QueryInstalledNotificationPackageVersionString();
    const std::string installKind = oldVersion.empty() ? "fresh" : "upgrade";
    const HRESULT hr = InstallNotificationPackage(timeoutMs);
    if (FAILED(hr)) {
        HOST_LOG_WARN(kEntryFunction, L"[{}]InstallNotificationPackage failed, hr=0x{:08X}", kEntryFunction,
                      host_log::Hex(hr));
        ReportPackageOperation(kInstallEvent, installKind, hr, "InstallNotificationPackage", oldVersion, "");
        return;
    }
    HOST_LOG_INFO(kEntryFunction, L"[{}]UWP notification package installed successfully", kEntryFunction);
    ReportPackageOperation(kInstallEvent, installKind, hr, "", oldVersion,
                           QueryInstalledNotificationPackageVersionString());
    LogNonFatalRegistrationFailure(RegisterBackgroundTaskImpl(installDir));
}

void RunUninstallJob() {
    if (!OsBuildIsSupported()) return;
    const std::uint32_t timeoutMs = TimeoutSwitch();
    HOST_LOG_INFO(kEntryFunction, L"[{}]Orvale_LoadModule_WinMain: type=2, timeoutMs={}", kEntryFunction, timeoutMs);

    const std::string oldVersion = QueryInstalledNotificationPackageVersionString();
    const HRESULT hr = UninstallNotificationPackage(timeoutMs);
    if (FAILED(hr)) {
        HOST_LOG_WARN(kEntryFunction, L"[{}]UninstallNotificationPackage failed, hr=0x{:08X}", kEntryFunction,
                      host_log::Hex(hr));
    } else {
        HOST_LOG_INFO(kEntryFunction, L"[{}]UWP notification package uninstalled", kEntryFunction);
    }
    ReportPackageOperation(kUninstallEvent, "", hr, "UninstallNotificationPackage", oldVersion, "");
}

void RunMaintenanceJob() {
    if (!OsBuildIsSupported()) return;
    if (!EnsureNotificationPackageInstalled()) {
        HOST_LOG_WARN(kEntryFunction, L"[{}]Maintenance: EnsureNotificationPackageInstalled failed (non-fatal)",
                      kEntryFunction);
    } else {
        LogNonFatalRegistrationFailure(RegisterBackgroundTask());
    }
    HOST_LOG_INFO(kEntryFunction, L"[{}]Maintenance mode completed", kEntryFunction);
}
