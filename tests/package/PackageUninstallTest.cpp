// Uninstall against the simulated package manager, reached through the real
// activation path.
#include <windows.h>

#include <gtest/gtest.h>

#include "NotificationPackageManager.h"
#include "PackageIdentityUtils.h"
#include "PackageTestSupport.h"
#include "TestMain.h"

namespace {

constexpr char kTag[] = "[UninstallNotificationPackage]UninstallNotificationPackage";

class UninstallTest : public PackageTest {
protected:
    UninstallTest() {
        sim_control::register_package(NotificationPackage(L"first", 1, 0, 0, 0));
        sim_control::register_package({L"Other.App", L"CN=Other", L"unrelated", 1, 0, 0, 0});
        sim_control::register_package(NotificationPackage(L"second", 2, 0, 0, 0));
    }

    static std::wstring RemoveCall(const std::wstring& fullName) { return std::wstring(kRemoveCall) + L"(" + fullName + L")"; }
};

TEST_F(UninstallTest, RemovesEveryRegistrationInOrder) {
    EXPECT_EQ(S_OK, UninstallNotificationPackage(1000));

    EXPECT_EQ((std::vector<std::wstring>{RemoveCall(L"first"), RemoveCall(L"second")}), CallsStartingWith(kRemoveCall));
    EXPECT_FALSE(QueryInstalledNotificationPackageVersion().has_value());
    EXPECT_TRUE(Logged(1, std::string(kTag) + ": removing first, timeoutMs=1000"));
    EXPECT_TRUE(Logged(1, std::string(kTag) + ": removed first"));
    EXPECT_TRUE(Logged(1, std::string(kTag) + ": removed second"));

    // Nothing left is success too.
    EXPECT_EQ(S_OK, UninstallNotificationPackage(1000));
    EXPECT_TRUE(Logged(1, std::string(kTag) + ": no package found to remove"));
    EXPECT_EQ(2u, CallsStartingWith(kRemoveCall).size());
}

TEST_F(UninstallTest, WaitsAtMostThirtySecondsPerPackage) {
    for (const std::uint32_t asked : {60000u, 0xFFFFFFFFu}) {
        sim_control::register_package(NotificationPackage(L"again", 1, 0, 0, 0));
        const HostLogCursor cursor(TestLogPath());
        EXPECT_EQ(S_OK, UninstallNotificationPackage(asked));
        EXPECT_NE(nullptr, FindMessage(cursor.NewLines(), std::string(kTag) + ": removing again, timeoutMs=30000"))
            << asked;
    }
}

// Cancel is a request: the platform may end the removal at once or later.
TEST_F(UninstallTest, ATimeOutStopsBeforeTheNextPackage) {
    for (const std::uint32_t cancelDelayMs : {0u, 1500u}) {
        SCOPED_TRACE(cancelDelayMs);
        sim_control::reset();
        sim_control::register_package(NotificationPackage(L"first", 1, 0, 0, 0));
        sim_control::register_package(NotificationPackage(L"second", 2, 0, 0, 0));
        sim_control::queue_async_outcome(kRemoveCall, 0);
        sim_control::set_deployment_cancel_delay_ms(cancelDelayMs);

        const ULONGLONG start = GetTickCount64();
        EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_TIMEOUT), UninstallNotificationPackage(50));
        EXPECT_LT(GetTickCount64() - start, 1000u);
        EXPECT_EQ(std::vector<std::wstring>{RemoveCall(L"first")}, CallsStartingWith(kRemoveCall));
        EXPECT_TRUE(Logged(3, std::string(kTag) + ": timeout (50ms) removing first"));
        // The operation never ends by itself: only Cancel lets go of its completion handler.
        EXPECT_TRUE(Eventually([] { return !sim_control::deployment_operation_handler(0); }));
    }
}

TEST_F(UninstallTest, AnOperationThatEndsOtherwiseStopsWithItsOwnCode) {
    sim_control::queue_async_outcome(kRemoveCall, 3, static_cast<HRESULT>(0x80073CFA));
    EXPECT_EQ(static_cast<HRESULT>(0x80073CFA), UninstallNotificationPackage(1000));
    EXPECT_TRUE(Logged(3, std::string(kTag) + ": async failed, status=3, hr=0x80073CFA, name=first"));

    // Even a success code ends the uninstall: the second package is not tried.
    sim_control::queue_async_outcome(kRemoveCall, 2, S_OK);
    EXPECT_EQ(S_OK, UninstallNotificationPackage(1000));
    EXPECT_TRUE(Logged(3, std::string(kTag) + ": async failed, status=2, hr=0x00000000, name=first"));
    EXPECT_EQ(2u, CallsStartingWith(kRemoveCall).size());
}

}  // namespace
