// The package jobs through the host: what each reports to the collector, what
// it leaves in the package table and what it launches.
#include <windows.h>

#include <gtest/gtest.h>

#include "Activation.h"
#include "ClassNames.h"
#include "Foundation.h"
#include "HString.h"
#include "HostLogFile.h"
#include "JobsTestSupport.h"
#include "PackageIdentityUtils.h"
#include "PackageJobs.h"
#include "RegistryValueOverride.h"
#include "RuntimeError.h"
#include "TestMain.h"

namespace {

constexpr char kEntryTag[] = "[Orvale_LoadModule_WinMain]";
constexpr char kWakeUpUri[] = "orvale-notification:?action=register-wakeup-task";

std::string EntryLine(const std::string& text) { return kEntryTag + text; }

class PackageJobs : public ::testing::Test {
protected:
    PackageJobs() { EmptyReportFolder(); }
    MappedCollector collector_;
};

struct ExpectedReport {
    HRESULT code;
    std::string function, oldVersion, newVersion, level;
};

void ExpectReport(const LoopbackCollector& collector, const std::string& event, const std::string& kind,
                  const ExpectedReport& expected) {
    const Json::Value report = ReportMessage(collector, event, kind);
    ASSERT_TRUE(report.isObject()) << "no " << event << "/" << kind << " report";
    EXPECT_EQ(static_cast<int>(expected.code), report["error_code"].asInt());
    EXPECT_EQ(expected.function, report["function_name"].asString());
    EXPECT_EQ("", report["error_message"].asString());
    EXPECT_EQ(expected.oldVersion, report["old_version"].asString());
    EXPECT_EQ(expected.newVersion, report["new_version"].asString());
    EXPECT_EQ(expected.level, ReportLevel(collector, event, kind));
}

// What the package gets back from Uri.UnescapeComponent.
std::wstring UnescapedByThePlatform(const std::string& component) {
    rt::hstring text;
    rt::check(rt::get_activation_factory<rt::IUriEscapeStatics>(rt::class_name::Uri)
                  ->UnescapeComponent(rt::hstring(Utf8ToWideText(component)).get(), text.put()));
    return text.str();
}

// Text as the process's ANSI code page reads these bytes.
std::wstring InAnsiCodePage(const std::string& bytes) {
    std::wstring text(bytes.size(), L'\0');
    text.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()),
                                                        text.data(), static_cast<int>(text.size()))));
    return text;
}

TEST_F(PackageJobs, FreshInstallReportsAndRegistersWithTheInstallDirectory) {
    ExperimentConfig config({"1", "1", std::nullopt});
    JobHost host;
    const HostRun run = host.Run(L"-type 1 -install_dir \"C:\\Program Files\\\u00d6rvale\"");
    EXPECT_TRUE(EndsWithFlushLines(run.log));
    ASSERT_EQ(3u, collector_.Accepted().size()) << ::testing::PrintToString(AcceptedEventNames(collector_));
    EXPECT_EQ(1, ReportMessage(collector_, "msix_install_kiv_check", "result")["install_toggle"].asInt());
    ExpectReport(collector_, "msix_install", "fresh", {S_OK, "", "", "2.0.0.0", "info"});
    const std::string installDir = "C%3A%5CProgram%20Files%5C%C3%96rvale";
    EXPECT_EQ(std::vector<std::string>{std::string(kWakeUpUri) + "&install_dir=" + installDir}, host.LaunchedUris());
    // The package reads it back in the user's code page, not as the UTF-8 it was escaped in (README,
    // "Platform notes").
    EXPECT_EQ(L"C:\\Program Files\\" + InAnsiCodePage("\xC3\x96") + L"rvale", UnescapedByThePlatform(installDir));
    EXPECT_NE(nullptr, FindMessage(run.log, EntryLine("Orvale_LoadModule_WinMain: type=1, timeoutMs=10000, "
                                                      "install_dir='C:\\Program Files\\\xC3\x96rvale'")));
    EXPECT_EQ(1u, CountLines(run.log, 1, EntryLine("UWP notification package installed successfully")));
}

TEST_F(PackageJobs, UpgradeReportsBothVersionsAndARefusedRegistrationIsNonFatal) {
    ExperimentConfig config({"1", "1", std::nullopt});
    JobHost host;
    sim_control::register_package(NotificationPackageVersion(1));
    const HostRun run = host.Run(L"-type 1", {{L"SIMRUNTIME_LAUNCH_RESULT", L"false"}});
    ExpectReport(collector_, "msix_install", "upgrade", {S_OK, "", "1.0.0.0", "2.0.0.0", "info"});
    EXPECT_EQ(1u, CountLines(run.log, 2, EntryLine("RegisterBackgroundTask failed (non-fatal)")));
}

TEST_F(PackageJobs, FailedInstallReportsItsKindAndRegistersNothing) {
    ExperimentConfig config({"1", "1", std::nullopt});
    for (const bool upgrade : {false, true}) {
        JobHost host({false, nullptr});
        if (upgrade) sim_control::register_package(NotificationPackageVersion(1));
        const HostRun run = host.Run(L"-type 1");
        ExpectReport(collector_, "msix_install", upgrade ? "upgrade" : "fresh",
                     {HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "InstallNotificationPackage", upgrade ? "1.0.0.0" : "", "",
                      "error"});
        EXPECT_EQ(1u, CountLines(run.log, 2, EntryLine("InstallNotificationPackage failed, hr=0x80070002")));
        EXPECT_TRUE(host.LaunchedUris().empty());
        EXPECT_TRUE(LinesContaining(run.log, "RegisterBackgroundTask:").empty());
    }
}

TEST_F(PackageJobs, TimeoutWithoutDigitsIsZeroMilliseconds) {
    ExperimentConfig config({"1", std::nullopt, std::nullopt});
    JobHost host;
    const HostRun run = host.Run(L"-type 1 -timeout abc");
    EXPECT_NE(nullptr, FindMessage(run.log, EntryLine("Orvale_LoadModule_WinMain: type=1, timeoutMs=0, install_dir=''")));
    EXPECT_NE(nullptr, FindMessage(run.log, "[InstallNotificationPackage]InstallNotificationPackage: force install, timeoutMs=0"));
}

TEST_F(PackageJobs, UninstallReportsTheVersionItRemoved) {
    JobHost host;
    sim_control::register_package(NotificationPackageVersion(3));
    const HostRun removed = host.Run(L"-type 2");
    EXPECT_NE(nullptr, FindMessage(removed.log, EntryLine("Orvale_LoadModule_WinMain: type=2, timeoutMs=10000")));
    EXPECT_EQ(1u, CountLines(removed.log, 1, EntryLine("UWP notification package uninstalled")));
    ExpectReport(collector_, "msix_uninstall", "", {S_OK, "", "3.0.0.0", "", "info"});

    // Nothing left to remove: still a success, with no old version.
    EmptyReportFolder();
    MappedCollector second;
    host.Run(L"-type 2 -timeout 500");
    ExpectReport(second, "msix_uninstall", "", {S_OK, "", "", "", "info"});

    // The switch reaches the removal itself.
    sim_control::register_package(NotificationPackageVersion(3));
    const HostRun timed = host.Run(L"-type 2 -timeout 1234");
    EXPECT_NE(nullptr, FindMessage(timed.log, "[UninstallNotificationPackage]UninstallNotificationPackage: removing "
                                              "4E7A21C9.store_3.0.0.0_x64__n, timeoutMs=1234"));
}

// In this process, where the removal can be made to fail.
TEST_F(PackageJobs, FailedUninstallReportsTheFunction) {
    sim_control::reset();
    sim_control::register_package(NotificationPackageVersion(4));
    sim_control::queue_async_outcome(L"PackageManager.RemovePackageAsync", 3, E_ACCESSDENIED);
    const HostLogCursor log(TestLogPath());
    RunUninstallJob();
    EXPECT_EQ(1u, CountLines(log.NewLines(), 2, EntryLine("UninstallNotificationPackage failed, hr=0x80070005")));
    ExpectReport(collector_, "msix_uninstall", "",
                 {E_ACCESSDENIED, "UninstallNotificationPackage", "4.0.0.0", "", "error"});
}

TEST_F(PackageJobs, MaintenanceEnsuresThePackageAndAlwaysCompletes) {
    ExperimentConfig config({std::nullopt, "1", std::nullopt});
    {
        JobHost host;
        const HostRun run = host.Run(L"-type 3 -install_dir C:\\Orvale");
        EXPECT_EQ(std::vector<std::string>{kWakeUpUri}, host.LaunchedUris());
        EXPECT_EQ(1u, CountLines(run.log, 1, EntryLine("Maintenance mode completed")));
    }
    {
        JobHost host({false, nullptr});
        const HostRun run = host.Run(L"-type 3");
        EXPECT_EQ(1u, CountLines(run.log, 2, EntryLine("Maintenance: EnsureNotificationPackageInstalled failed (non-fatal)")));
        EXPECT_EQ(1u, CountLines(run.log, 1, EntryLine("Maintenance mode completed")));
        EXPECT_TRUE(host.LaunchedUris().empty());
    }
    {
        // A good ensure and a refused registration: non-fatal, then done.
        JobHost host;
        const HostRun run = host.Run(L"-type 3", {{L"SIMRUNTIME_LAUNCH_RESULT", L"false"}});
        const auto nonFatal = LinesContaining(run.log, EntryLine("RegisterBackgroundTask failed (non-fatal)"));
        const auto completed = LinesContaining(run.log, EntryLine("Maintenance mode completed"));
        ASSERT_EQ(1u, nonFatal.size());
        ASSERT_EQ(1u, completed.size());
        EXPECT_EQ(2, nonFatal[0].level);
        EXPECT_LT(FindMessage(run.log, nonFatal[0].message), FindMessage(run.log, completed[0].message)) << "in this order";
    }
    EXPECT_TRUE(collector_.Received().empty());
}

TEST_F(PackageJobs, EachTypeReachesItsOwnJob) {
    ExperimentConfig config({"0", std::nullopt, std::nullopt});
    JobHost host;
    const std::string installLine = EntryLine("not install.");
    const std::string uninstallLine = EntryLine("Orvale_LoadModule_WinMain: type=2, timeoutMs=10000");
    const std::string maintenanceLine = EntryLine("Maintenance mode completed");
    const std::pair<const wchar_t*, std::string> cases[] = {
        {L"-type 1", installLine}, {L"-type 2", uninstallLine}, {L"-type 3", maintenanceLine}};
    for (const auto& [arguments, expected] : cases) {
        SCOPED_TRACE(WideToUtf8Text(arguments));
        const HostRun run = host.Run(arguments);
        for (const std::string& line : {installLine, uninstallLine, maintenanceLine}) {
            const HostLogLine* found = FindMessage(run.log, line);
            EXPECT_EQ(line == expected, found != nullptr) << line;
            if (found) {
                EXPECT_EQ("Orvale_LoadModule_WinMain", found->function);
            }
        }
    }
}

// The OS check comes before every job's own work; the install's experiment check comes before it.
TEST_F(PackageJobs, OldWindowsStopsEveryJobAtTheOsCheck) {
    const EmulatedWindowsVersion windows(L"10.0", L"18363");
    struct Case {
        const wchar_t* arguments;
        const char* installSwitch;
        int toggle;  // -2: no experiment check reported
    };
    const Case cases[] = {{L"-type 1", "1", 1}, {L"-type 1", "0", 0}, {L"-type 2", "1", -2}, {L"-type 3", "1", -2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(WideToUtf8Text(c.arguments) + " switch " + c.installSwitch);
        ExperimentConfig config({c.installSwitch, "1", std::nullopt});
        JobHost host;
        sim_control::register_package(NotificationPackageVersion(1));
        EmptyReportFolder();
        MappedCollector collector;
        const HostRun run = host.Run(c.arguments);
        // After the dispatch line, the OS line is the job's only one.
        const std::string dispatch = EntryLine("Orvale_LoadModule_WinMain: type=") + WideToUtf8Text(c.arguments).substr(6);
        std::vector<HostLogLine> jobLines;
        for (const HostLogLine& line : LinesContaining(run.log, EntryLine(""))) {
            if (line.message != dispatch) jobLines.push_back(line);
        }
        ASSERT_EQ(1u, jobLines.size()) << ::testing::PrintToString(Messages(run.log));
        EXPECT_EQ(EntryLine("Orvale_LoadModule_WinMain: OS build < 19041"), jobLines[0].message);
        EXPECT_EQ(2, jobLines[0].level);
        EXPECT_TRUE(LinesContaining(run.log, "NotificationPackage").empty());
        if (c.toggle == -2) {
            EXPECT_TRUE(collector.Received().empty());
        } else {
            EXPECT_EQ((std::vector<std::string>{"msix_install_kiv_check", "msix_install_kiv_check"}),
                      AcceptedEventNames(collector));
            EXPECT_EQ(c.toggle, ReportMessage(collector, "msix_install_kiv_check", "result")["install_toggle"].asInt());
        }
        EXPECT_EQ("1.0.0.0", QueryInstalledNotificationPackageVersionString());
        EXPECT_TRUE(host.LaunchedUris().empty());
    }
}

}  // namespace
