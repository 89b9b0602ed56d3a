// The push box's image: downloaded into the temporary folder and shown as the
// hero image (big mode) or the app logo (small mode), the mode coming from the
// client's configuration file. The configuration is read once per process and
// these tests replace the file every test shares, so CTest runs each of them
// alone, in a process of its own.
#include <windows.h>

#include <gtest/gtest.h>

#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "ConfigTestSupport.h"
#include "HostLogFile.h"
#include "ImportPatch.h"
#include "LoopbackHttpServer.h"
#include "NotificationAppIdentity.h"
#include "NotificationWrapperMgr.h"
#include "SimToastControl.h"
#include "SimulationTest.h"
#include "TempFolder.h"
#include "TestMain.h"
#include "XmlDocumentText.h"

namespace {

const std::string kPicture = "\xFF\xD8\xFF\xE0 not really a picture";

std::wstring TempFolderPath() {
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    return folder;
}

// "level message" of the push box's own lines, which all come from one source file.
std::vector<std::string> PushBoxLogLines(const HostLogCursor& cursor) {
    std::vector<std::string> lines;
    for (const auto& line : cursor.NewLines()) {
        if (line.sourceFile.find("NotificationWrapperMgr") == std::string::npos) continue;
        lines.push_back(std::to_string(line.level) + " " + line.message);
    }
    return lines;
}

class PushBoxImage : public SimulationTest {
protected:
    void TearDown() override {
        if (!downloaded_.empty()) DeleteFileW(downloaded_.c_str());
    }

    // Before the first push box of the process; nullopt: no configuration file.
    void UseMode(const std::optional<std::string>& mode) {
        std::optional<std::string> content;
        if (mode) content = R"({"pc_push_box_config": {"value": "{\"mode\": \")" + *mode + R"(\"}"}})";
        config_.emplace(L"config2.json", content);
    }

    // Shows one push box with `imageUrl`; the XML of the toast it shows.
    std::wstring ShowWithImage(const std::wstring& imageUrl) {
        EXPECT_TRUE(NotificationSetToPushBox(L"Title", L"Body", imageUrl.c_str(), L"orvale://open"));
        const auto shown = sim_control::shown_toasts();
        EXPECT_EQ(shown.size(), 1u);
        return shown.empty() ? std::wstring() : shown.front().xml;
    }

    // The downloaded file named in `logLine` ("... localPath = <path>"): checked and removed after the test.
    std::wstring DownloadedFile(const std::string& logLine) {
        const size_t at = logLine.rfind("localPath = ");
        if (at == std::string::npos) return {};
        downloaded_ = Utf8ToWideText(logLine.substr(at + 12));
        return downloaded_;
    }

    std::optional<RoamingConfigFile> config_;
    LoopbackHttpServer server_;
    std::wstring downloaded_;
};

TEST_F(PushBoxImage, BigModeIsTheDefaultAndShowsTheDownloadedFileAsHeroImage) {
    UseMode(std::nullopt);
    server_.Serve("/hero.jpg", kPicture);
    const std::wstring url = server_.Url("/hero.jpg");
    HostLogCursor cursor(TestLogPath());

    const std::wstring xml = ShowWithImage(url);

    const auto log = PushBoxLogLines(cursor);
    ASSERT_EQ(log.size(), 2u) << ::testing::PrintToString(log);
    const std::wstring path = DownloadedFile(log[0]);
    EXPECT_EQ(log[0], "1 [DownloadImageToTemp][NotificationAPIDLL] download success, url = " + WideToUtf8Text(url) +
                          ", localPath = " + WideToUtf8Text(path));
    EXPECT_EQ(log[1],
              "1 [NotificationSetToPushBoxImpl][NotificationAPIDLL] apply image, isBigMode = true, localPath = " +
                  WideToUtf8Text(path));
    ASSERT_EQ(path.rfind(TempFolderPath(), 0), 0u) << WideToUtf8Text(path);
    EXPECT_TRUE(std::regex_match(path.substr(TempFolderPath().size()), std::wregex(LR"(notif_\d+\.jpg)")))
        << WideToUtf8Text(path);
    EXPECT_EQ(ReadFileBytes(path), kPicture);
    EXPECT_EQ(server_.Requests(), std::vector<std::string>{"/hero.jpg"});

    EXPECT_EQ(elements_named(xml, L"image"),
              (std::vector<std::wstring>{L"<image id=\"1\" src=\"file:///\" placement=\"app_logo_override\"/>",
                                         L"<image placement=\"hero\" src=\"" + path + L"\"/>"}));
}

TEST_F(PushBoxImage, SmallModeShowsTheDownloadedFileAsAppLogo) {
    UseMode("small");
    server_.Serve("/logo.jpg", kPicture);
    HostLogCursor cursor(TestLogPath());

    const std::wstring xml = ShowWithImage(server_.Url("/logo.jpg"));

    const auto log = PushBoxLogLines(cursor);
    ASSERT_EQ(log.size(), 2u) << ::testing::PrintToString(log);
    const std::wstring path = DownloadedFile(log[0]);
    EXPECT_EQ(log[1],
              "1 [NotificationSetToPushBoxImpl][NotificationAPIDLL] apply image, isBigMode = false, localPath = " +
                  WideToUtf8Text(path));
    EXPECT_EQ(ReadFileBytes(path), kPicture);
    EXPECT_EQ(elements_named(xml, L"image"), std::vector<std::wstring>{L"<image id=\"1\" src=\"file:///" + path + L"\"/>"});
}

// Only the three letters "big" mean big mode; a local path is never downloaded.
TEST_F(PushBoxImage, LocalPathIsShownAsItIsInAnyModeButBig) {
    UseMode("Big");
    HostLogCursor cursor(TestLogPath());

    const std::wstring xml = ShowWithImage(L"C:\\pic.jpg");

    EXPECT_EQ(PushBoxLogLines(cursor),
              (std::vector<std::string>{
                  "1 [DownloadImageToTemp][NotificationAPIDLL] download skip, not http url = C:\\pic.jpg",
                  "1 [NotificationSetToPushBoxImpl][NotificationAPIDLL] apply image, isBigMode = false, localPath = "
                  "C:\\pic.jpg",
              }));
    EXPECT_EQ(elements_named(xml, L"image"), std::vector<std::wstring>{L"<image id=\"1\" src=\"file:///C:\\pic.jpg\"/>"});
}

// "big" with a blank after it is not big mode, and "HTTP" is not "http".
TEST_F(PushBoxImage, OnlyTheExactModeAndSchemeCount) {
    UseMode("big ");
    server_.Serve("/pic.jpg", kPicture);
    const std::string url = "HTTP" + WideToUtf8Text(server_.Url("/pic.jpg")).substr(4);
    HostLogCursor cursor(TestLogPath());

    ShowWithImage(Utf8ToWideText(url));

    EXPECT_EQ(PushBoxLogLines(cursor),
              (std::vector<std::string>{
                  "1 [DownloadImageToTemp][NotificationAPIDLL] download skip, not http url = " + url,
                  "1 [NotificationSetToPushBoxImpl][NotificationAPIDLL] apply image, isBigMode = false, localPath = " + url,
              }));
    EXPECT_TRUE(server_.Requests().empty());
}

// Wine's shell32 keeps no explicit application id (its getter answers
// E_NOTIMPL), so the id is seen where the module hands it over.
std::wstring g_explicitAppId;
HRESULT WINAPI RecordExplicitAppId(PCWSTR id) {
    g_explicitAppId = id;
    return S_OK;
}

// Each push box writes the identity key again, so one the user deleted comes
// back, and names the process's explicit application id.
TEST_F(PushBoxImage, EachPushBoxRestoresTheIdentity) {
    UseMode("big");
    const std::wstring key = std::wstring(notification_wrapper::kAppUserModelIdKey) + kPushBoxAppId;
    ASSERT_TRUE(NotificationSetToPushBox(L"Title", L"Body", L"", L""));
    ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str()), ERROR_SUCCESS);
    {
        const ImportPatch record("shell32.dll", "SetCurrentProcessExplicitAppUserModelID",
                                 reinterpret_cast<const void*>(&RecordExplicitAppId));
        ASSERT_TRUE(NotificationSetToPushBox(L"Title", L"Body", L"", L""));
    }
    EXPECT_EQ(g_explicitAppId, kPushBoxAppId);
    HKEY restored = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_QUERY_VALUE, &restored), ERROR_SUCCESS);
    if (restored) RegCloseKey(restored);
}

TEST_F(PushBoxImage, FailedDownloadStillShowsTheToastWithoutImage) {
    UseMode("big");
    std::wstring url;
    {
        LoopbackHttpServer closed;
        url = closed.Url("/gone.jpg");
    }
    HostLogCursor cursor(TestLogPath());

    const std::wstring xml = ShowWithImage(url);

    const auto log = PushBoxLogLines(cursor);
    ASSERT_EQ(log.size(), 2u) << ::testing::PrintToString(log);
    EXPECT_TRUE(
        std::regex_match(log[0], std::regex(R"(1 \[DownloadImageToTemp\]\[NotificationAPIDLL\] download failed, )"
                                            R"(hr = 0x8[0-9a-f]{7}, url = )" +
                                            WideToUtf8Text(url))))
        << log[0];
    EXPECT_EQ(log[1],
              "1 [NotificationSetToPushBoxImpl][NotificationAPIDLL] apply image skipped, url = " + WideToUtf8Text(url));
    EXPECT_EQ(elements_named(xml, L"image"), std::vector<std::wstring>{L"<image id=\"1\" src=\"file:///\"/>"});
    EXPECT_EQ(elements_named(xml, L"text"),
              (std::vector<std::wstring>{L"<text id=\"1\">Title</text>", L"<text id=\"2\">Body</text>"}));
}

}  // namespace
