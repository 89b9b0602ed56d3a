// Other components of the host product load the module and find the version
// query by its name; this program does the same and links none of the module.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "PackageSimControl.h"

namespace {

using VersionQuery = bool (*)(wchar_t* buffer, std::uint32_t bufferLength);

TEST(LoadedModuleTest, TheVersionQueryIsExportedByItsPlainName) {
    sim_control::reset();
    const HMODULE module = LoadLibraryW(L"NotificationAPI.dll");
    ASSERT_NE(nullptr, module);
    const auto query = reinterpret_cast<VersionQuery>(
        reinterpret_cast<void*>(GetProcAddress(module, "GetInstalledNotificationPackageVersion")));
    ASSERT_NE(nullptr, query);

    wchar_t buffer[32] = {L'x', L'\0'};
    EXPECT_FALSE(query(buffer, 32));
    EXPECT_EQ(std::wstring(), buffer);

    sim_control::register_package({L"4E7A21C9.store", L"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31", L"registered", 1,
                                   0, 12, 0});
    EXPECT_TRUE(query(buffer, 32));
    EXPECT_EQ(std::wstring(L"1.0.12.0"), buffer);
    FreeLibrary(module);
}

}  // namespace
