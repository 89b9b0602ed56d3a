// Install and ensure against the simulated package manager, reached through
// the real activation path.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <thread>

#include "NotificationPackageManager.h"
#include "PackageIdentityUtils.h"
#include "PackageTestSupport.h"
#include "RuntimeError.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

constexpr char kDoInstallTag[] = "[`anonymous-namespace'::DoInstallNotificationPackage]";

std::wstring ExpectedPackageUri() {
    return PackageFileUri(GetNotificationApiDllDirectory() + L"\\Orvale.Notification.msix");
}

std::string InstallingLine(int timeoutMs) {
    return std::string(kDoInstallTag) + "installing msixUri=" + WideToUtf8Text(ExpectedPackageUri()) +
           ", timeoutMs=" + std::to_string(timeoutMs);
}

class InstallTest : public PackageTest {
protected:
    InstallTest() { sim_control::set_package_in_file(NotificationPackage(L"from_file", 3, 0, 0, 0)); }
};

// Without an external location a package that needs one registers without
// giving identity, silently; the forced shutdown stops what runs under the package.
TEST_F(InstallTest, ForcesTheUpdateFromTheFileBesideTheModule) {
    sim_control::register_package(NotificationPackage(L"newer", 5, 0, 0, 0));
    sim_control::set_package_processes(L"4E7A21C9.store", L"OrvaleTask.exe;OrvaleBroker.exe");
    sim_control::set_package_processes(L"Other.App", L"Other.exe");
    sim_control::set_add_rules({.fileNeedsExternalLocation = true});

    EXPECT_EQ(S_OK, InstallNotificationPackage(5000));

    // The same version, an older one or a newer one: the install replaces it.
    EXPECT_EQ("3.0.0.0", QueryInstalledNotificationPackageVersionString());
    EXPECT_EQ((std::vector<std::wstring>{L"AddPackageOptions.put_ForceUpdateFromAnyVersion(1)",
                                         L"AddPackageOptions.put_ForceAppShutdown(1)",
                                         L"AddPackageOptions.put_ForceTargetAppShutdown(1)"}),
              CallsStartingWith(L"AddPackageOptions.put_"));
    EXPECT_EQ(std::vector<std::wstring>{std::wstring(kAddCall) + L"(" + ExpectedPackageUri() + L")"},
              CallsStartingWith(kAddCall));
    EXPECT_TRUE(Logged(1, "[InstallNotificationPackage]InstallNotificationPackage: force install, timeoutMs=5000"));
    EXPECT_TRUE(Logged(1, InstallingLine(5000)));
    EXPECT_TRUE(Logged(1, std::string(kDoInstallTag) + "installed/updated successfully"));
    EXPECT_EQ((std::vector<std::wstring>{L"OrvaleTask.exe", L"OrvaleBroker.exe"}), sim_control::shut_down_processes());
    EXPECT_EQ(std::vector<std::wstring>{L"from_file"}, sim_control::registered_without_identity());
}

TEST_F(InstallTest, AnUnregisteredResultReturnsItsExtendedError) {
    sim_control::queue_unregistered_deployment(static_cast<HRESULT>(0x80073CF3), L"conflicting package");

    EXPECT_EQ(static_cast<HRESULT>(0x80073CF3), InstallNotificationPackage(5000));
    EXPECT_TRUE(Logged(3, std::string(kDoInstallTag) + "failed, hr=0x80073CF3, errorText=conflicting package"));
    EXPECT_EQ("", QueryInstalledNotificationPackageVersionString());
}

TEST_F(InstallTest, AnOperationThatDidNotCompleteReturnsItsOwnErrorCode) {
    // A time-out cancels; the cancelled operation's code is returned as it is, success or not.
    sim_control::queue_async_outcome(kAddCall, 0);
    sim_control::set_cancel_error_code(S_FALSE);
    EXPECT_EQ(S_FALSE, InstallNotificationPackage(50));
    EXPECT_TRUE(Logged(3, std::string(kDoInstallTag) + "async status=0, hr=0x00000001"));

    // Where the platform refuses to add a version it has registered already.
    sim_control::register_package(NotificationPackage(L"same", 3, 0, 0, 0));
    sim_control::set_add_rules({.refuseRegisteredVersion = true});
    EXPECT_EQ(static_cast<HRESULT>(0x80073CF9), InstallNotificationPackage(5000));
    EXPECT_TRUE(Logged(3, std::string(kDoInstallTag) + "async status=3, hr=0x80073CF9"));
}

// Unlike the removal's, the install's time-out is not clamped to 30 s.
TEST_F(InstallTest, WaitsTheWholeTimeOutItWasGiven) {
    sim_control::set_async_delay_ms(30500);
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(S_OK, InstallNotificationPackage(60000));
    EXPECT_GE(GetTickCount64() - start, 30000u);
    EXPECT_TRUE(Logged(1, InstallingLine(60000)));
}

// Cancel is a request: the platform may end the operation at once or later.
TEST_F(InstallTest, TheAbandonedOperationReleasesTheCompletionHandler) {
    struct Case {
        std::uint32_t cancelDelayMs;
        HRESULT returned;  // the ErrorCode right after Cancel
    };
    for (const Case c : {Case{0, HRESULT_FROM_WIN32(ERROR_CANCELLED)}, Case{1500, S_OK}}) {
        SCOPED_TRACE(c.cancelDelayMs);
        sim_control::reset();
        sim_control::set_async_outcome(kAddCall, 0);
        sim_control::set_deployment_cancel_delay_ms(c.cancelDelayMs);
        rt::com_ptr<IUnknown> handler;
        std::thread watcher([&] {
            Eventually([&] { return static_cast<bool>(handler = sim_control::deployment_operation_handler(0)); });
        });
        const ULONGLONG start = GetTickCount64();
        EXPECT_EQ(c.returned, InstallNotificationPackage(200));
        EXPECT_LT(GetTickCount64() - start, 1200u);
        watcher.join();
        ASSERT_TRUE(handler);

        // Once the cancelled operation has ended, this test holds the last reference.
        EXPECT_TRUE(Eventually([&] {
            handler->AddRef();
            return handler->Release() == 1;
        }));
        EXPECT_EQ(0u, handler.detach()->Release());
    }
}

TEST_F(InstallTest, AMissingPackageFileEndsTheInstallBeforeAnyRuntimeCall) {
    // The probe runs the install from a folder that holds no package file.
    TempFolder folder;
    const std::wstring probe = folder / L"PackageInstallProbe.exe";
    ASSERT_TRUE(CopyFileW((BinaryFolder() + L"\\PackageInstallProbe.exe").c_str(), probe.c_str(), TRUE));
    wchar_t path[4096] = {};
    GetEnvironmentVariableW(L"PATH", path, 4096);

    const ProcessResult run = RunProcess(L"\"" + probe + L"\"", {{L"PATH", BinaryFolder() + L";" + path}});

    ASSERT_TRUE(run.finished);
    EXPECT_NE(std::string::npos, run.output.find("hr=0x80070002 runtime-calls=0")) << run.output;
    EXPECT_TRUE(Logged(3, std::string(kDoInstallTag) + "MSIX file not found: " +
                              WideToUtf8Text(folder / L"Orvale.Notification.msix")));
}

using EnsureTest = InstallTest;

TEST_F(EnsureTest, AnyRegisteredVersionIsEnough) {
    sim_control::register_package(NotificationPackage(L"old", 0, 0, 0, 1));

    EXPECT_TRUE(EnsureNotificationPackageInstalled());
    EXPECT_TRUE(CallsStartingWith(kAddCall).empty());
    EXPECT_TRUE(Logged(1, "[`anonymous-namespace'::IsNotificationPackageInstalled]IsNotificationPackageInstalled: "
                          "found package, version=0.0.0.1"));
    EXPECT_TRUE(Logged(1, "[EnsureNotificationPackageInstalled]EnsureNotificationPackageInstalled: already "
                          "installed, skip"));
}

TEST_F(EnsureTest, InstallsWithTenSecondsWhenNothingIsRegistered) {
    EXPECT_TRUE(EnsureNotificationPackageInstalled());
    EXPECT_EQ("3.0.0.0", QueryInstalledNotificationPackageVersionString());
    EXPECT_TRUE(Logged(1, "[`anonymous-namespace'::IsNotificationPackageInstalled]IsNotificationPackageInstalled: "
                          "package not installed"));
    EXPECT_TRUE(Logged(1, "[EnsureNotificationPackageInstalled]EnsureNotificationPackageInstalled: not installed, "
                          "installing, timeoutMs=10000"));
    EXPECT_TRUE(Logged(1, InstallingLine(10000)));

    sim_control::reset();
    sim_control::queue_unregistered_deployment(static_cast<HRESULT>(0x80073CF3), L"conflicting package");
    EXPECT_FALSE(EnsureNotificationPackageInstalled());
}

// Each package function catches the runtime's failures and every other
// exception, logs which, and answers as when nothing was found or done.
TEST_F(InstallTest, EachFunctionCatchesRuntimeFailuresAndOtherExceptions) {
    const auto hex = [](HRESULT code) {
        char text[16] = {};
        std::snprintf(text, sizeof(text), "0x%08lX", static_cast<unsigned long>(code));
        return std::string(text);
    };
    const auto version = [] { return " " + QueryInstalledNotificationPackageVersionString(); };
    struct Row {
        std::string tag;
        std::vector<std::pair<const wchar_t*, HRESULT>> failures;  // calls failed in turn
        const wchar_t* thrower;
        std::vector<sim_control::package_registration> registered;
        std::function<std::string()> run;
        // The answer and then the version installed.
        std::string afterFailure, afterThrow;
    };
    const Row rows[] = {
        {"[InstallNotificationPackage]InstallNotificationPackage",
         {{L"AddPackageOptions.put_ForceAppShutdown", E_INVALIDARG}}, kAddCall, {},
         [&] { return hex(InstallNotificationPackage(5000)); }, "0x80070057 ", "0x8000FFFF "},
        {"[`anonymous-namespace'::IsNotificationPackageInstalled]IsNotificationPackageInstalled",
         {{kFindCall, E_ACCESSDENIED}}, kFindCall, {},
         [] { return EnsureNotificationPackageInstalled() ? "true" : "false"; }, "true 3.0.0.0",
         "true 3.0.0.0"},
        {"[EnsureNotificationPackageInstalled]EnsureNotificationPackageInstalled", {{kAddCall, E_ACCESSDENIED}},
         kAddCall, {}, [] { return EnsureNotificationPackageInstalled() ? "true" : "false"; },
         "false ", "false "},
        // The first name is read as usual; a package removed before the failure stays removed.
        {"[UninstallNotificationPackage]UninstallNotificationPackage",
         {{L"PackageId.get_FullName", S_OK}, {L"PackageId.get_FullName", E_ACCESSDENIED}}, kFindCall,
         {NotificationPackage(L"first", 1, 0, 0, 0), NotificationPackage(L"second", 2, 0, 0, 0)},
         [&] { return hex(UninstallNotificationPackage(1000)); }, "0x80070005 2.0.0.0",
         "0x8000FFFF 1.0.0.0"},
        {"[QueryInstalledNotificationPackageVersion]GetInstalledNotificationPackageVersion",
         {{L"PackageId.get_Version", E_ACCESSDENIED}}, kFindCall, {NotificationPackage(L"registered", 1, 0, 12, 0)},
         [] { return QueryInstalledNotificationPackageVersionString(); }, " 1.0.12.0", " 1.0.12.0"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.tag);
        for (const bool throwing : {false, true}) {
            sim_control::reset();
            sim_control::set_package_in_file(NotificationPackage(L"from_file", 3, 0, 0, 0));
            for (const auto& registration : row.registered) sim_control::register_package(registration);
            if (throwing) {
                sim_control::throw_from_next_call(row.thrower);
            } else {
                for (const auto& [call, code] : row.failures) sim_control::fail_next_call(call, code);
            }
            const std::string answer = row.run();
            EXPECT_EQ(answer + version(), throwing ? row.afterThrow : row.afterFailure);
        }
        const HRESULT code = row.failures.back().second;
        EXPECT_TRUE(Logged(3, row.tag + " exception, hr=" + hex(code) + ", msg=" + WideToUtf8Text(rt::system_message(code))));
        EXPECT_TRUE(Logged(3, row.tag + " unknown exception"));
    }
}

}  // namespace
