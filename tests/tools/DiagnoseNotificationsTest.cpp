// The diagnosis run as support staff run it: a child process reading this
// prefix's identity key, the package table (kept in a file the child shares)
// and the report folder.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "DiagnosticChecks.h"
#include "NotificationAppIdentity.h"
#include "PackageIdentityUtils.h"
#include "PackageSimControl.h"
#include "QuorvelClock.h"
#include "QuorvelReportStorage.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

const std::wstring kPackageFullName = std::wstring(kNotificationPackageName) + L"_2.0.0.0_x64__n";

class DiagnoseNotificationsTest : public ::testing::Test {
protected:
    void SetUp() override {
        SetEnvironmentVariableW(L"SIMRUNTIME_PACKAGE_TABLE_FILE", (tableFolder_ / L"packages.txt").c_str());
        sim_control::reset();
        reportFolder_ = quorvel::GetReportDirectory();
        ASSERT_FALSE(reportFolder_.empty());
        for (const auto& entry : std::filesystem::directory_iterator(reportFolder_)) std::filesystem::remove(entry.path());
    }
    void TearDown() override { SetEnvironmentVariableW(L"SIMRUNTIME_PACKAGE_TABLE_FILE", nullptr); }

    // What a working client leaves: the identity, the package, and a report
    // being posted right now next to one waiting.
    void MakeHealthy() {
        ASSERT_EQ(ERROR_SUCCESS, notification_wrapper::register_app_id(L"Malvorn Video", diagnose::kAppId));
        sim_control::register_package({kNotificationPackageName, kNotificationPackagePublisher, kPackageFullName, 2});
        AddReportFile(L"100.json");
        AddClaim(10);
    }

    void AddReportFile(const std::wstring& name) const {
        ASSERT_TRUE(WriteFileBytes(reportFolder_ + name, "report"));
    }
    void AddClaim(long long secondsAgo) const {
        const long long claimTime = quorvel::UnixSecondsNow() - secondsAgo;
        AddReportFile(std::to_wstring(claimTime) + L"000000000.uploading.4242." + std::to_wstring(claimTime));
    }

    static ProcessResult Diagnose() {
        ProcessResult result = RunProcess(L"\"" + BinaryFolder() + L"\\DiagnoseNotifications.exe\"");
        EXPECT_TRUE(result.finished);
        return result;
    }

    TempFolder tableFolder_;
    std::wstring reportFolder_;
};

TEST_F(DiagnoseNotificationsTest, HealthySetUpPassesEveryCheck) {
    MakeHealthy();
    const ProcessResult result = Diagnose();
    EXPECT_EQ(0u, result.exitCode) << result.output;
    EXPECT_FALSE(Contains(result.output, "FAIL")) << result.output;
    EXPECT_TRUE(Contains(result.output, "OK   identity: MalvornVideo.Orvale.v1 registered, display name \"Malvorn Video\""))
        << result.output;
    EXPECT_TRUE(Contains(result.output, "OK   package: 4E7A21C9.store registered, version 2.0.0.0")) << result.output;
    EXPECT_TRUE(Contains(result.output, "OK   protocol: orvale-notification: available")) << result.output;
    EXPECT_TRUE(Contains(result.output, "OK   report queue: 1 queued, 0 temporary, 1 claimed")) << result.output;
    EXPECT_TRUE(Contains(result.output, "OK   notification setting: MalvornVideo.Orvale.v1: enabled")) << result.output;
    EXPECT_TRUE(Contains(result.output, "INFO experiment: pc_bg_task_wakeup_config/pc_bg_task_register: "))
        << result.output;
}

// Exit code 1, and exactly the expected checks named as failed.
void ExpectFailures(const ProcessResult& result, const std::vector<std::string>& failed) {
    EXPECT_EQ(1u, result.exitCode) << result.output;
    for (const std::string& line : failed) EXPECT_TRUE(Contains(result.output, line)) << result.output;
    size_t failLines = 0;
    for (size_t at = result.output.find("FAIL "); at != std::string::npos; at = result.output.find("FAIL ", at + 1)) {
        ++failLines;
    }
    EXPECT_EQ(failed.size(), failLines) << result.output;
}

TEST_F(DiagnoseNotificationsTest, MissingPackageFailsThePackageAndItsProtocol) {
    MakeHealthy();
    sim_control::reset();
    ExpectFailures(Diagnose(), {"FAIL package: 4E7A21C9.store is not registered",
                                "FAIL protocol: orvale-notification: no application installed for it"});
}

// Registered but not OK, a state of each group: the line names every status property that is set.
TEST_F(DiagnoseNotificationsTest, RegisteredPackageThatIsNotOkFailsWithItsState) {
    MakeHealthy();
    const std::pair<std::uint32_t, const char*> states[] = {
        {sim_control::tampered, "NeedsRemediation, Tampered"},
        {sim_control::disabled, "NotAvailable, Disabled, NeedsRemediation"},
        {sim_control::deployment_in_progress, "Servicing, DeploymentInProgress"},
    };
    for (const auto& [state, names] : states) {
        sim_control::set_package_status(kPackageFullName, state);
        ExpectFailures(Diagnose(), {std::string("FAIL package: 4E7A21C9.store registered, version 2.0.0.0, but not "
                                                "usable (") + names + "): its background tasks would not run"});
    }
}

TEST_F(DiagnoseNotificationsTest, DeletedIdentityKeyFailsTheIdentity) {
    MakeHealthy();
    const std::wstring key = std::wstring(notification_wrapper::kAppUserModelIdKey) + diagnose::kAppId;
    ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str()));
    ExpectFailures(Diagnose(), {"FAIL identity: HKCU\\Software\\Classes\\AppUserModelId\\MalvornVideo.Orvale.v1 is not registered"});
}

TEST_F(DiagnoseNotificationsTest, EveryNotificationSettingThatBlocksToastsFails) {
    MakeHealthy();
    const std::pair<const wchar_t*, const char*> blocks[] = {
        {L"DisabledForApplication", "turned off for this application by the user (setting 1)"},
        {L"DisabledForUser", "turned off for every application of this user (setting 2)"},
        {L"DisabledByGroupPolicy", "turned off on this computer by group policy (setting 3)"},
        {L"DisabledByManifest", "turned off by the application's manifest (setting 4)"},
    };
    for (const auto& [setting, text] : blocks) {
        SetEnvironmentVariableW(L"SIMRUNTIME_TOAST_SETTING", setting);
        ExpectFailures(Diagnose(), {std::string("FAIL notification setting: MalvornVideo.Orvale.v1: ") + text});
    }
    SetEnvironmentVariableW(L"SIMRUNTIME_TOAST_SETTING", nullptr);
}

TEST_F(DiagnoseNotificationsTest, StaleClaimFailsTheQueue) {
    MakeHealthy();
    AddClaim(1000);
    ExpectFailures(Diagnose(), {"FAIL report queue: 1 stale claim(s) older than 900 s"});
}

}  // namespace
