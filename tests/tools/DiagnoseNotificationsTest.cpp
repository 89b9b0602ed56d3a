// The diagnosis run as support staff run it: a child process reading this
// prefix's identity key, the package table (kept in a file the child shares)
// and the report folder.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "DiagnosticChecks.h"
#include "NotificationAppIdentity.h"
#include "PackageIdentityUtils.h"
#include "PackageSimControl.h"
#include "QuorvelClock.h"
#include "QuorvelReportStorage.h"
#include "ScopedVariable.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

const std::wstring kPackageFullName = std::wstring(kNotificationPackageName) + L"_2.0.0.0_x64__n";

class DiagnoseNotificationsTest : public ::testing::Test {
protected:
    void SetUp() override {
        reportFolder_ = quorvel::GetReportDirectory();
        ASSERT_FALSE(reportFolder_.empty());
        Fresh();
    }
    void Fresh() const {
        sim_control::reset();
        SetEnvironmentVariableW(L"SIMRUNTIME_TOAST_SETTING", nullptr);
        for (const auto& entry : std::filesystem::directory_iterator(reportFolder_)) std::filesystem::remove(entry.path());
    }

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
    const ScopedVariable packageTable_{L"SIMRUNTIME_PACKAGE_TABLE_FILE", tableFolder_ / L"packages.txt"};
    std::wstring reportFolder_;
};

TEST_F(DiagnoseNotificationsTest, HealthySetUpPassesEveryCheck) {
    MakeHealthy();
    const ProcessResult result = Diagnose();
    EXPECT_EQ(0u, result.exitCode) << result.output;
    EXPECT_FALSE(Contains(result.output, "FAIL")) << result.output;
    for (const char* line : {"OK   identity: MalvornVideo.Orvale.v1 registered, display name \"Malvorn Video\"",
                             "OK   package: 4E7A21C9.store registered, version 2.0.0.0",
                             "OK   protocol: orvale-notification: available",
                             "OK   report queue: 1 queued, 0 temporary, 1 claimed",
                             "OK   notification setting: MalvornVideo.Orvale.v1: enabled",
                             "INFO experiment: pc_bg_task_wakeup_config/pc_bg_task_register: "}) {
        EXPECT_TRUE(Contains(result.output, line)) << result.output;
    }
}

// Exit code 1, and exactly the expected checks named as failed.
void ExpectFailures(const ProcessResult& result, const std::vector<std::string>& failed) {
    EXPECT_EQ(1u, result.exitCode) << result.output;
    for (const std::string& line : failed) EXPECT_TRUE(Contains(result.output, line)) << result.output;
    const auto lines = TextLines(result.output);
    EXPECT_EQ(std::ssize(failed), std::ranges::count_if(lines, [](const std::string& line) { return line.starts_with("FAIL "); }))
        << result.output;
}

// Each broken part of a healthy set-up fails its own check and only that.
TEST_F(DiagnoseNotificationsTest, EachBrokenPartFailsItsCheck) {
    const std::wstring identityKey = std::wstring(notification_wrapper::kAppUserModelIdKey) + diagnose::kAppId;
    const std::string notUsable = "FAIL package: 4E7A21C9.store registered, version 2.0.0.0, but not usable (";
    const std::string setting = "FAIL notification setting: MalvornVideo.Orvale.v1: ";
    // A package registered but not OK, a state of each group: the line names
    // every status property that is set.
    const auto status = [](std::uint32_t state) { return [state] { sim_control::set_package_status(kPackageFullName, state); }; };
    const auto toastSetting = [](const wchar_t* value) { return [value] { SetEnvironmentVariableW(L"SIMRUNTIME_TOAST_SETTING", value); }; };
    const struct {
        std::function<void()> breakIt;
        std::vector<std::string> failed;
    } rows[] = {
        {[] { sim_control::reset(); },
         {"FAIL package: 4E7A21C9.store is not registered",
          "FAIL protocol: orvale-notification: no application installed for it"}},
        {status(sim_control::tampered), {notUsable + "NeedsRemediation, Tampered): its background tasks would not run"}},
        {status(sim_control::disabled), {notUsable + "NotAvailable, Disabled, NeedsRemediation): its background tasks would not run"}},
        {status(sim_control::deployment_in_progress), {notUsable + "Servicing, DeploymentInProgress): its background tasks would not run"}},
        {[&] { ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(HKEY_CURRENT_USER, identityKey.c_str())); },
         {"FAIL identity: HKCU\\Software\\Classes\\AppUserModelId\\MalvornVideo.Orvale.v1 is not registered"}},
        {toastSetting(L"DisabledForApplication"), {setting + "turned off for this application by the user (setting 1)"}},
        {toastSetting(L"DisabledForUser"), {setting + "turned off for every application of this user (setting 2)"}},
        {toastSetting(L"DisabledByGroupPolicy"), {setting + "turned off on this computer by group policy (setting 3)"}},
        {toastSetting(L"DisabledByManifest"), {setting + "turned off by the application's manifest (setting 4)"}},
        {[this] { AddClaim(1000); }, {"FAIL report queue: 1 stale claim(s) older than 900 s"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.failed[0]);
        Fresh();
        MakeHealthy();
        row.breakIt();
        ExpectFailures(Diagnose(), row.failed);
    }
    Fresh();
}

}  // namespace
