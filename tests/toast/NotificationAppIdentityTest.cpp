// The identity key and the icon file, against the real registry and files.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "HostLogFile.h"
#include "NotificationAppIdentity.h"
#include "TempFolder.h"
#include "TestMain.h"

namespace {

using notification_wrapper::get_notify_icon_path;
using notification_wrapper::register_app_id;

// The host's data folder of this test, through the stand-alone library's setting.
class ScopedAppData {
public:
    ScopedAppData() { SetEnvironmentVariableW(L"ORVALE_STANDALONE_APPDATA", folder_.path().c_str()); }
    ~ScopedAppData() { SetEnvironmentVariableW(L"ORVALE_STANDALONE_APPDATA", nullptr); }
    std::wstring IconPath() const { return folder_ / L"Notification\\notify.ico"; }

private:
    TempFolder folder_;
};

std::string ResourceBytes() {
    HMODULE self = GetModuleHandleW(nullptr);
    HRSRC resource = FindResourceW(self, MAKEINTRESOURCEW(201), MAKEINTRESOURCEW(10));
    return std::string(static_cast<const char*>(LockResource(LoadResource(self, resource))),
                       SizeofResource(self, resource));
}

std::vector<std::string> IconLogLines(const HostLogCursor& cursor) {
    std::vector<std::string> lines;
    for (const auto& line : cursor.NewLines()) {
        if (line.function == "GetNotifyIconPath") lines.push_back(std::to_string(line.level) + " " + line.message);
    }
    return lines;
}

TEST(NotifyIcon, IsWrittenOnceAndRewrittenWhenItsSizeChanged) {
    ScopedAppData appData;
    {
        HostLogCursor cursor(TestLogPath());
        EXPECT_EQ(get_notify_icon_path(), appData.IconPath());
        EXPECT_EQ(ReadFileBytes(appData.IconPath()), ResourceBytes());
        EXPECT_EQ(IconLogLines(cursor),
                  std::vector<std::string>{"1 [GetNotifyIconPath][notification-wrapper] WriteFile success for IDR_NOTIFY_ICO"});
    }
    {
        SCOPED_TRACE("same size: kept, even with other bytes");
        std::string sameSize(ResourceBytes().size(), 'x');
        ASSERT_TRUE(WriteFileBytes(appData.IconPath(), sameSize));
        HostLogCursor cursor(TestLogPath());
        EXPECT_EQ(get_notify_icon_path(), appData.IconPath());
        EXPECT_EQ(ReadFileBytes(appData.IconPath()), sameSize);
        EXPECT_EQ(IconLogLines(cursor),
                  std::vector<std::string>{
                      "1 [GetNotifyIconPath][notification-wrapper] Icon exists and size matches, skipping write."});
    }
    {
        SCOPED_TRACE("other size: replaced");
        ASSERT_TRUE(WriteFileBytes(appData.IconPath(), "short"));
        EXPECT_EQ(get_notify_icon_path(), appData.IconPath());
        EXPECT_EQ(ReadFileBytes(appData.IconPath()), ResourceBytes());
    }
}

TEST(NotifyIcon, AnUnwritableFileGivesNoPath) {
    ScopedAppData appData;
    ASSERT_FALSE(get_notify_icon_path().empty());
    ASSERT_TRUE(WriteFileBytes(appData.IconPath(), "other size"));
    // Someone holds the file open without sharing: the rewrite cannot open it.
    HANDLE locked = CreateFileW(appData.IconPath().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(locked, INVALID_HANDLE_VALUE);
    HostLogCursor cursor(TestLogPath());
    EXPECT_EQ(get_notify_icon_path(), L"");
    CloseHandle(locked);
    EXPECT_EQ(IconLogLines(cursor),
              std::vector<std::string>{"3 [GetNotifyIconPath][notification-wrapper] WriteFile failed, Error Code: %lu"});
}

std::vector<std::pair<std::wstring, std::wstring>> RegistryValues(const std::wstring& subKey) {
    std::vector<std::pair<std::wstring, std::wstring>> values;
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, subKey.c_str(), 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return values;
    for (DWORD index = 0;; ++index) {
        wchar_t name[256] = {};
        wchar_t data[1024] = {};
        DWORD nameLength = 256, dataBytes = sizeof(data), type = 0;
        if (RegEnumValueW(key, index, name, &nameLength, nullptr, &type, reinterpret_cast<BYTE*>(data), &dataBytes) !=
            ERROR_SUCCESS) {
            break;
        }
        EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
        values.emplace_back(name, data);
    }
    RegCloseKey(key);
    std::sort(values.begin(), values.end());
    return values;
}

// Wine lists values by name, not in the order of writing, so the order the
// key is written in cannot be seen here; the set of values can.
TEST(AppIdentity, WritesTheKeyAndWritesItAgainAfterDeletion) {
    ScopedAppData appData;
    const std::wstring appId = L"Test.App." + FreshGuidText();
    const std::wstring subKey = std::wstring(notification_wrapper::kAppUserModelIdKey) + appId;
    const std::vector<std::pair<std::wstring, std::wstring>> expected = {
        {L"CustomActivator", L"{4B8E2C17-5A3D-4F61-9C20-7D1E3A6B9F05}"},
        {L"DisplayName", L"Display Name"},
        {L"IconUri", appData.IconPath()},
    };
    EXPECT_EQ(register_app_id(L"Display Name", appId), 0);
    EXPECT_EQ(RegistryValues(subKey), expected);

    ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, subKey.c_str()), ERROR_SUCCESS);
    EXPECT_EQ(register_app_id(L"Display Name", appId), 0);
    EXPECT_EQ(RegistryValues(subKey), expected);

    // An icon that cannot be written is left out of the identity.
    ASSERT_TRUE(WriteFileBytes(appData.IconPath(), "other size"));
    HANDLE locked = CreateFileW(appData.IconPath().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, subKey.c_str()), ERROR_SUCCESS);
    EXPECT_EQ(register_app_id(L"Display Name", appId), 0);
    CloseHandle(locked);
    EXPECT_EQ(RegistryValues(subKey), decltype(expected)(expected.begin(), expected.end() - 1));
    RegDeleteTreeW(HKEY_CURRENT_USER, subKey.c_str());
}

}  // namespace
