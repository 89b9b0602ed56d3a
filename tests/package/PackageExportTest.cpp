// Other components of the host product load the module and find the version
// query by its name; this program does the same and links none of the module.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "HostLogFile.h"
#include "NotificationAPI.h"
#include "PackageSimControl.h"
#include "SimToastControl.h"
#include "TempFolder.h"
#include "TestMain.h"
#include "TestProcess.h"

namespace {

// The export of the module loaded by name; null when the module or the name is missing.
template <class Function>
Function LoadedExport(HMODULE& module, const char* name) {
    module = LoadLibraryW(L"NotificationAPI.dll");
    return module ? reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name))) : nullptr;
}

TEST(LoadedModuleTest, TheVersionQueryIsExportedByItsPlainName) {
    sim_control::reset();
    HMODULE module = nullptr;
    const auto query = LoadedExport<GetInstalledNotificationPackageVersionFn>(module, NOTIFICATIONAPI_PACKAGE_VERSION_EXPORT);
    ASSERT_NE(nullptr, query);

    wchar_t buffer[32] = {};
    sim_control::register_package({L"4E7A21C9.store", L"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31", L"registered", 1,
                                   0, 12, 0});
    EXPECT_TRUE(query(buffer, 32));
    EXPECT_EQ(std::wstring(L"1.0.12.0"), buffer);
    FreeLibrary(module);
}

// A toast outlives the client's use of the module: the platform may call its
// handlers after the client let the module go.
TEST(LoadedModuleTest, StaysLoadedOnceItHandedTheNotificationCentreAHandler) {
    sim_control::reset();
    HMODULE module = nullptr;
    const auto pushBox = LoadedExport<NotificationSetToPushBoxFn>(module, NOTIFICATIONAPI_PUSH_BOX_EXPORT);
    ASSERT_NE(nullptr, pushBox);
    ASSERT_TRUE(pushBox(L"Title", L"Body", nullptr, L"orvale://open"));
    FreeLibrary(module);

    EXPECT_NE(nullptr, GetModuleHandleW(L"NotificationAPI.dll"));
    EXPECT_EQ(S_OK, sim_control::raise_activated(0, L"0"));
    EXPECT_EQ(sim_control::handler_counts(0), sim_control::toast_handler_counts{});
}

// The package file, and so its URI, come from the module's folder, not the executable's.
TEST(LoadedModuleTest, InstallsThePackageBesideTheModule) {
    TempFolder folder;
    const std::wstring module = folder / L"NotificationAPI.dll";
    ASSERT_TRUE(CopyFileW((BinaryFolder() + L"\\NotificationAPI.dll").c_str(), module.c_str(), TRUE));
    ASSERT_TRUE(WriteFileBytes(folder / L"Orvale.Notification.msix", "package"));
    const HostLogCursor log(TestLogPath());

    // Maintenance installs when nothing is registered.
    const ProcessResult run =
        RunProcess(L"\"" + BinaryFolder() + L"\\ModuleFolderProbe.exe\" \"" + module + L"\" -type 3");

    ASSERT_TRUE(run.finished);
    std::wstring uri = L"file:///" + folder.path() + L"/Orvale.Notification.msix";
    std::replace(uri.begin(), uri.end(), L'\\', L'/');
    EXPECT_NE(std::string::npos, run.output.find("PackageManager.AddPackageByUriAsync(" + WideToUtf8Text(uri) + ")"))
        << run.output;
    EXPECT_NE(nullptr, FindMessage(log.NewLines(), "[`anonymous-namespace'::DoInstallNotificationPackage]installing "
                                                   "msixUri=" + WideToUtf8Text(uri) + ", timeoutMs=10000"));
}

}  // namespace
