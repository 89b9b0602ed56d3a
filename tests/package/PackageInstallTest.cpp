// Install and ensure against the simulated package manager, reached through
// the real activation path.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "NotificationPackageManager.h"
#include "PackageIdentityUtils.h"
#include "PackageTestSupport.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

constexpr char kDoInstallTag[] = "[`anonymous-namespace'::DoInstallNotificationPackage]";

std::wstring ExpectedPackageUri() {
    return PackageFileUri(GetNotificationApiDllDirectory() + L"\\Orvale.Notification.msix");
}

class InstallTest : public PackageTest {
protected:
    InstallTest() { sim_control::set_package_in_file(NotificationPackage(L"from_file", 3, 0, 0, 0)); }
};

TEST_F(InstallTest, ForcesTheUpdateFromTheFileBesideTheModule) {
    sim_control::register_package(NotificationPackage(L"newer", 5, 0, 0, 0));

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
    EXPECT_TRUE(Logged(1, std::string(kDoInstallTag) + "installing msixUri=" + WideToUtf8Text(ExpectedPackageUri()) +
                              ", timeoutMs=5000"));
    EXPECT_TRUE(Logged(1, std::string(kDoInstallTag) + "installed/updated successfully"));
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

// The install forces the shutdown of whatever runs under the package, on every run.
TEST_F(InstallTest, ShutsDownTheProcessesRunningUnderThePackage) {
    sim_control::set_package_processes(L"4E7A21C9.store", L"OrvaleTask.exe;OrvaleBroker.exe");
    sim_control::set_package_processes(L"Other.App", L"Other.exe");
    EXPECT_EQ(S_OK, InstallNotificationPackage(5000));
    EXPECT_EQ((std::vector<std::wstring>{L"OrvaleTask.exe", L"OrvaleBroker.exe"}), sim_control::shut_down_processes());
}

// Without an external location a package that needs one registers without giving identity, silently.
TEST_F(InstallTest, RegistersWithoutExternalLocation) {
    sim_control::set_add_rules({.fileNeedsExternalLocation = true});
    EXPECT_EQ(S_OK, InstallNotificationPackage(5000));
    EXPECT_TRUE(Logged(1, std::string(kDoInstallTag) + "installed/updated successfully"));
    EXPECT_EQ(std::vector<std::wstring>{L"from_file"}, sim_control::registered_without_identity());
    EXPECT_EQ(0u, sim_control::call_count(L"AddPackageOptions.put_ExternalLocationUri"));
}

// Unlike the removal's, the install's time-out is not clamped to 30 s.
TEST_F(InstallTest, WaitsTheWholeTimeOutItWasGiven) {
    sim_control::set_async_delay_ms(30500);
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(S_OK, InstallNotificationPackage(60000));
    EXPECT_GE(GetTickCount64() - start, 30000u);
    EXPECT_TRUE(Logged(1, std::string(kDoInstallTag) + "installing msixUri=" + WideToUtf8Text(ExpectedPackageUri()) +
                              ", timeoutMs=60000"));
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

TEST_F(InstallTest, FailuresOfTheRuntimeAndOfAnyOtherKindAreCaught) {
    sim_control::fail_next_call(L"AddPackageOptions.put_ForceAppShutdown", E_INVALIDARG);
    EXPECT_EQ(E_INVALIDARG, InstallNotificationPackage(5000));
    EXPECT_TRUE(Logged(3, "[InstallNotificationPackage]InstallNotificationPackage exception, hr=0x80070057, msg=" +
                              SystemMessageUtf8(E_INVALIDARG)));
    EXPECT_TRUE(CallsStartingWith(kAddCall).empty());

    sim_control::throw_from_next_call(kAddCall);
    EXPECT_EQ(E_UNEXPECTED, InstallNotificationPackage(5000));
    EXPECT_TRUE(Logged(3, "[InstallNotificationPackage]InstallNotificationPackage unknown exception"));
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
    EXPECT_TRUE(Logged(1, std::string(kDoInstallTag) + "installing msixUri=" + WideToUtf8Text(ExpectedPackageUri()) +
                              ", timeoutMs=10000"));

    sim_control::reset();
    sim_control::queue_unregistered_deployment(static_cast<HRESULT>(0x80073CF3), L"conflicting package");
    EXPECT_FALSE(EnsureNotificationPackageInstalled());
}

TEST_F(EnsureTest, AFailingQueryReadsAsNotInstalled) {
    sim_control::fail_next_call(kFindCall, E_ACCESSDENIED);

    EXPECT_TRUE(EnsureNotificationPackageInstalled());
    EXPECT_TRUE(Logged(3, "[`anonymous-namespace'::IsNotificationPackageInstalled]IsNotificationPackageInstalled "
                          "exception, hr=0x80070005, msg=" + SystemMessageUtf8(E_ACCESSDENIED)));
    EXPECT_EQ(1u, CallsStartingWith(kAddCall).size());

    sim_control::throw_from_next_call(kFindCall);
    EXPECT_TRUE(EnsureNotificationPackageInstalled());
    EXPECT_TRUE(Logged(3, "[`anonymous-namespace'::IsNotificationPackageInstalled]IsNotificationPackageInstalled "
                          "unknown exception"));
}

TEST_F(EnsureTest, FailuresOfTheInstallAreCaught) {
    sim_control::fail_next_call(kAddCall, E_ACCESSDENIED);
    EXPECT_FALSE(EnsureNotificationPackageInstalled());
    EXPECT_TRUE(Logged(3, "[EnsureNotificationPackageInstalled]EnsureNotificationPackageInstalled exception, "
                          "hr=0x80070005, msg=" + SystemMessageUtf8(E_ACCESSDENIED)));

    sim_control::throw_from_next_call(kAddCall);
    EXPECT_FALSE(EnsureNotificationPackageInstalled());
    EXPECT_TRUE(Logged(3, "[EnsureNotificationPackageInstalled]EnsureNotificationPackageInstalled unknown exception"));
}

}  // namespace
