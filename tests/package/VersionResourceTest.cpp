// The client's installer and crash reporting read the version resource of
// what they ship; it must carry the project's one version.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestProcess.h"

namespace {

std::wstring Dotted(DWORD ms, DWORD ls) {
    return std::to_wstring(HIWORD(ms)) + L"." + std::to_wstring(LOWORD(ms)) + L"." + std::to_wstring(HIWORD(ls)) +
           L"." + std::to_wstring(LOWORD(ls));
}

TEST(VersionResourceTest, ModuleAndToolsCarryTheProjectVersion) {
    for (const wchar_t* fileName : {L"NotificationAPI.dll", L"DiagnoseNotifications.exe", L"ReportQueueViewer.exe"}) {
        SCOPED_TRACE(fileName);
        const std::wstring path = BinaryFolder() + L"\\" + fileName;
        DWORD ignored = 0;
        std::vector<BYTE> block(GetFileVersionInfoSizeW(path.c_str(), &ignored));
        ASSERT_TRUE(!block.empty() && GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()))
            << "no version resource";
        // The value under `key`; null when missing or empty.
        const auto value = [&](const std::wstring& key) -> void* {
            void* found = nullptr;
            UINT length = 0;
            return VerQueryValueW(block.data(), key.c_str(), &found, &length) && length > 0 ? found : nullptr;
        };
        // A value of the U.S. English, Unicode string table; empty when missing.
        const auto text = [&](const wchar_t* name) {
            const void* found = value(std::wstring(L"\\StringFileInfo\\040904B0\\") + name);
            return found ? std::wstring(static_cast<const wchar_t*>(found)) : std::wstring();
        };
        const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value(L"\\"));
        ASSERT_NE(fixed, nullptr);
        EXPECT_EQ(ORVALE_PROJECT_VERSION, Dotted(fixed->dwFileVersionMS, fixed->dwFileVersionLS));
        EXPECT_EQ(ORVALE_PROJECT_VERSION, Dotted(fixed->dwProductVersionMS, fixed->dwProductVersionLS));
        EXPECT_EQ(ORVALE_PROJECT_VERSION, text(L"FileVersion"));
        EXPECT_EQ(ORVALE_PROJECT_VERSION, text(L"ProductVersion"));
        EXPECT_EQ(L"Malvorn", text(L"CompanyName"));
        EXPECT_EQ(L"Orvale", text(L"ProductName"));
        EXPECT_EQ(fileName, text(L"OriginalFilename"));
        EXPECT_FALSE(text(L"FileDescription").empty());
    }
}

}  // namespace
