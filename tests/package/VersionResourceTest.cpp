// The client's installer and crash reporting read the version resource of
// what they ship; it must carry the project's one version.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestProcess.h"

namespace {

struct VersionResource {
    std::vector<BYTE> block;

    explicit VersionResource(const std::wstring& path) {
        DWORD ignored = 0;
        const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
        if (size == 0) return;
        block.resize(size);
        if (!GetFileVersionInfoW(path.c_str(), 0, size, block.data())) block.clear();
    }

    // "a.b.c.d" from the fixed part; empty without one.
    std::wstring FixedVersion(bool product) {
        VS_FIXEDFILEINFO* info = nullptr;
        UINT length = 0;
        if (block.empty() || !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &length) ||
            length < sizeof(VS_FIXEDFILEINFO)) {
            return {};
        }
        const DWORD ms = product ? info->dwProductVersionMS : info->dwFileVersionMS;
        const DWORD ls = product ? info->dwProductVersionLS : info->dwFileVersionLS;
        return std::to_wstring(HIWORD(ms)) + L"." + std::to_wstring(LOWORD(ms)) + L"." + std::to_wstring(HIWORD(ls)) +
               L"." + std::to_wstring(LOWORD(ls));
    }

    // A value of the U.S. English, Unicode string table; empty when missing.
    std::wstring Text(const wchar_t* name) {
        const std::wstring key = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
        wchar_t* value = nullptr;
        UINT length = 0;
        if (block.empty() || !VerQueryValueW(block.data(), key.c_str(), reinterpret_cast<void**>(&value), &length) ||
            length == 0) {
            return {};
        }
        return value;
    }
};

void ExpectVersionResource(const wchar_t* fileName) {
    SCOPED_TRACE(fileName);
    VersionResource resource(BinaryFolder() + L"\\" + fileName);
    ASSERT_FALSE(resource.block.empty()) << "no version resource";
    EXPECT_EQ(ORVALE_PROJECT_VERSION, resource.FixedVersion(false));
    EXPECT_EQ(ORVALE_PROJECT_VERSION, resource.FixedVersion(true));
    EXPECT_EQ(ORVALE_PROJECT_VERSION, resource.Text(L"FileVersion"));
    EXPECT_EQ(ORVALE_PROJECT_VERSION, resource.Text(L"ProductVersion"));
    EXPECT_EQ(L"Malvorn", resource.Text(L"CompanyName"));
    EXPECT_EQ(L"Orvale", resource.Text(L"ProductName"));
    EXPECT_EQ(fileName, resource.Text(L"OriginalFilename"));
    EXPECT_FALSE(resource.Text(L"FileDescription").empty());
}

TEST(VersionResourceTest, ModuleAndToolsCarryTheProjectVersion) {
    ExpectVersionResource(L"NotificationAPI.dll");
    ExpectVersionResource(L"DiagnoseNotifications.exe");
    ExpectVersionResource(L"ReportQueueViewer.exe");
}

}  // namespace
