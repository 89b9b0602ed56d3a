// The module's folder, the installed-version query and its export, called
// in-process as the module's own code calls them.
#include <windows.h>

#include <gtest/gtest.h>

#include "NotificationPackageManager.h"
#include "PackageIdentityUtils.h"
#include "PackageTestSupport.h"
#include "TestProcess.h"

namespace {

TEST(ModuleFolderTest, EitherSeparatorLeadsToTheSamePackageUri) {
    EXPECT_EQ(L"C:\\A\\B", ParentFolderOfPath(L"C:\\A\\B\\NotificationAPI.dll"));
    EXPECT_EQ(L"C:/A/B", ParentFolderOfPath(L"C:/A/B/NotificationAPI.dll"));
    EXPECT_EQ(L"C:\\A/B", ParentFolderOfPath(L"C:\\A/B//NotificationAPI.dll"));
    for (const wchar_t* module : {L"C:\\A\\B\\NotificationAPI.dll", L"C:/A/B/NotificationAPI.dll",
                                  L"C:\\A/B//NotificationAPI.dll"}) {
        EXPECT_EQ(L"file:///C:/A/B/Orvale.Notification.msix",
                  PackageFileUri(ParentFolderOfPath(module) + L"\\Orvale.Notification.msix"))
            << module;
    }
    // The root keeps its separator.
    EXPECT_EQ(L"C:\\", ParentFolderOfPath(L"C:\\NotificationAPI.dll"));
    EXPECT_EQ(L"C:/", ParentFolderOfPath(L"C:/NotificationAPI.dll"));
}

TEST(ModuleFolderTest, IsTheFolderOfTheFileHoldingTheCode) {
    // Linked into this test program, the code lies in the program's file.
    EXPECT_EQ(BinaryFolder(), GetNotificationApiDllDirectory());
}

using VersionQueryTest = PackageTest;

TEST_F(VersionQueryTest, ReadsTheFirstRegistrationOfNameAndPublisherOnly) {
    sim_control::register_package({L"4E7A21C9.store", L"CN=Someone Else", L"other_publisher", 9, 9, 9, 9});
    sim_control::register_package({L"Other.App", L"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31", L"other_name", 8, 8, 8, 8});
    sim_control::register_package(NotificationPackage(L"first", 10, 0, 0, 65535));
    sim_control::register_package(NotificationPackage(L"second", 2, 0, 0, 0));

    EXPECT_EQ("10.0.0.65535", QueryInstalledNotificationPackageVersionString());
    EXPECT_EQ(std::vector<std::wstring>{std::wstring(kFindCall) +
                                        L"(\"\", \"4E7A21C9.store\", \"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31\")"},
              CallsStartingWith(kFindCall));
}

TEST_F(VersionQueryTest, NothingRegisteredOrAFailingQueryIsAnEmptyVersion) {
    EXPECT_FALSE(QueryInstalledNotificationPackageVersion().has_value());
    EXPECT_EQ("", QueryInstalledNotificationPackageVersionString());

    sim_control::register_package(NotificationPackage(L"registered", 1, 0, 12, 0));
    sim_control::fail_next_call(L"PackageId.get_Version", E_ACCESSDENIED);
    EXPECT_EQ("", QueryInstalledNotificationPackageVersionString());
    EXPECT_TRUE(Logged(3, "[QueryInstalledNotificationPackageVersion]GetInstalledNotificationPackageVersion "
                          "exception, hr=0x80070005, msg=" + SystemMessageUtf8(E_ACCESSDENIED)));

    sim_control::throw_from_next_call(kFindCall);
    EXPECT_FALSE(QueryInstalledNotificationPackageVersion().has_value());
    EXPECT_TRUE(Logged(3, "[QueryInstalledNotificationPackageVersion]GetInstalledNotificationPackageVersion "
                          "unknown exception"));
    EXPECT_EQ("1.0.12.0", QueryInstalledNotificationPackageVersionString());
}

using VersionExportTest = PackageTest;

TEST_F(VersionExportTest, RefusesAMissingBufferWithoutTouchingIt) {
    sim_control::register_package(NotificationPackage(L"registered", 1, 0, 12, 0));
    wchar_t buffer[4] = {L'x', L'x', L'x', L'\0'};
    SetLastError(0);
    EXPECT_FALSE(GetInstalledNotificationPackageVersion(nullptr, 16));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
    SetLastError(0);
    EXPECT_FALSE(GetInstalledNotificationPackageVersion(buffer, 0));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, GetLastError());
    EXPECT_EQ(std::wstring(L"xxx"), buffer);
    EXPECT_TRUE(sim_control::call_log().empty());
}

TEST_F(VersionExportTest, NeedsRoomForTheTextAndItsTerminator) {
    sim_control::register_package(NotificationPackage(L"registered", 10, 0, 0, 65535));
    const std::wstring expected = L"10.0.0.65535";

    std::wstring buffer(expected.size() + 1, L'x');
    EXPECT_TRUE(GetInstalledNotificationPackageVersion(buffer.data(), static_cast<std::uint32_t>(buffer.size())));
    EXPECT_EQ(expected, buffer.c_str());

    buffer.assign(expected.size(), L'x');
    SetLastError(0);
    EXPECT_FALSE(GetInstalledNotificationPackageVersion(buffer.data(), static_cast<std::uint32_t>(buffer.size())));
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, GetLastError());
    EXPECT_EQ(L'\0', buffer[0]);
}

TEST_F(VersionExportTest, NotRegisteredLeavesAnEmptyStringAndTheLastErrorAlone) {
    wchar_t buffer[32] = {L'x', L'\0'};
    SetLastError(12345);
    EXPECT_FALSE(GetInstalledNotificationPackageVersion(buffer, 32));
    EXPECT_EQ(12345u, GetLastError());
    EXPECT_EQ(L'\0', buffer[0]);
}

}  // namespace
