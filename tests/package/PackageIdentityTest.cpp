// The module's folder, the installed-version query and its export, called
// in-process as the module's own code calls them.
#include <windows.h>

#include <gtest/gtest.h>

#include <optional>

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

using VersionExportTest = PackageTest;

// The export's answer, last error and buffer for each buffer a client may pass.
TEST_F(VersionExportTest, NeedsABufferWithRoomForTheTextAndItsTerminator) {
    const std::wstring registered = L"10.0.0.65535";
    struct Row {
        const char* name;
        bool isRegistered, noBuffer;
        std::uint32_t size;
        bool answer;
        std::optional<DWORD> lastError;  // unchecked after a success
        std::wstring buffer;  // what the client then reads
    };
    const Row rows[] = {
        {"no buffer", true, true, 16, false, ERROR_INVALID_PARAMETER, L"xxx"},
        {"size 0", true, false, 0, false, ERROR_INVALID_PARAMETER, L"xxx"},
        {"room for the text and its terminator", true, false, 13, true, std::nullopt, registered},
        {"no room for the terminator", true, false, 12, false, ERROR_INSUFFICIENT_BUFFER, L""},
        {"not registered", false, false, 32, false, 12345, L""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        sim_control::reset();
        if (row.isRegistered) sim_control::register_package(NotificationPackage(L"registered", 10, 0, 0, 65535));
        std::wstring buffer(32, L'x');
        buffer[3] = L'\0';
        SetLastError(12345);
        EXPECT_EQ(row.answer, GetInstalledNotificationPackageVersion(row.noBuffer ? nullptr : buffer.data(), row.size));
        if (row.lastError) {
            EXPECT_EQ(*row.lastError, GetLastError());
        }
        EXPECT_EQ(row.buffer, buffer.c_str());
        // A refused buffer is refused before the package manager is asked.
        if (row.lastError == ERROR_INVALID_PARAMETER) {
            EXPECT_TRUE(sim_control::call_log().empty());
        }
    }
}

}  // namespace
