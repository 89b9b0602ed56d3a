// The report body as the collector reads it, and the encrypted form queued on disk.
#include <gtest/gtest.h>

#include <windows.h>
#include <bcrypt.h>

#include <json/reader.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include "ImportPatch.h"
#include "QuorvelBuildSettings.h"
#include "QuorvelReportBody.h"
#include "QuorvelReportCrypto.h"

namespace {

// The body with every timestamp replaced by "T"; fails when they differ.
std::string WithTimestampsReplaced(const std::string& body) {
    const std::regex stamp(R"(("timestamp\\?"|"client_timestamp\\?"):(\d+))");
    std::string first;
    std::string replaced;
    auto last = body.cbegin();
    for (std::sregex_iterator it(body.begin(), body.end(), stamp), end; it != end; ++it) {
        if (first.empty()) first = (*it)[2];
        EXPECT_EQ(first, (*it)[2].str()) << "timestamps differ in " << body;
        replaced.append(last, (*it)[0].first).append((*it)[1].str()).append(":T");
        last = (*it)[0].second;
    }
    replaced.append(last, body.cend());
    return replaced;
}

std::vector<std::uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

long long MillisecondsSince1970() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// Queued bytes read with a cipher set up here, not by the module's code, and
// the padding checked by hand: a fault of the module's key, IV, chaining or
// padding shows against it. Empty when the length or the padding is wrong.
std::optional<std::string> CbcDecrypt(std::vector<std::uint8_t> cipher) {
    struct Handles {
        BCRYPT_ALG_HANDLE aes = nullptr;
        BCRYPT_KEY_HANDLE key = nullptr;
        ~Handles() {
            if (key) BCryptDestroyKey(key);
            if (aes) BCryptCloseAlgorithmProvider(aes, 0);
        }
    } cng;
    auto secret = quorvel::build_settings::kReportKey;
    auto iv = quorvel::build_settings::kReportIv;
    std::wstring chaining = BCRYPT_CHAIN_MODE_CBC;
    std::vector<std::uint8_t> plain(cipher.size());
    ULONG length = 0;
    const ULONG size = static_cast<ULONG>(cipher.size());
    if (BCryptOpenAlgorithmProvider(&cng.aes, BCRYPT_AES_ALGORITHM, nullptr, 0) != 0 ||
        BCryptSetProperty(cng.aes, BCRYPT_CHAINING_MODE, reinterpret_cast<PUCHAR>(chaining.data()),
                          static_cast<ULONG>((chaining.size() + 1) * sizeof(wchar_t)), 0) != 0 ||
        BCryptGenerateSymmetricKey(cng.aes, &cng.key, nullptr, 0, secret.data(), 32, 0) != 0 ||
        BCryptDecrypt(cng.key, cipher.data(), size, nullptr, iv.data(), 16, plain.data(), size, &length, 0) != 0 ||
        length == 0) {
        return std::nullopt;
    }
    const std::uint8_t pad = plain[length - 1];
    if (pad == 0 || pad > 16) return std::nullopt;
    for (ULONG i = length - pad; i < length; ++i) {
        if (plain[i] != pad) return std::nullopt;
    }
    return std::string(plain.begin(), plain.begin() + (length - pad));
}

// Counts the threads inside BCryptEncrypt, as the module's code calls it.
struct EncryptWatch {
    std::atomic<int> inside{0};
    std::atomic<bool> together{false};
    const ImportPatch* patch = nullptr;
};
EncryptWatch g_encryptWatch;

NTSTATUS WINAPI WatchedEncrypt(BCRYPT_KEY_HANDLE key, PUCHAR input, ULONG inputLength, VOID* padding, PUCHAR iv,
                               ULONG ivLength, PUCHAR output, ULONG outputLength, ULONG* result, ULONG flags) {
    if (++g_encryptWatch.inside > 1) g_encryptWatch.together = true;
    Sleep(1);  // long enough for a second thread to arrive
    const NTSTATUS status = g_encryptWatch.patch->original<decltype(BCryptEncrypt)>()(
        key, input, inputLength, padding, iv, ivLength, output, outputLength, result, flags);
    --g_encryptWatch.inside;
    return status;
}

}  // namespace

TEST(ReportBody, ErrorAndToggleRecordsGiveTheExactCollectorText) {
    quorvel::ErrorEventInfo error{"msix_install", "upgrade", -2147024894, "InstallNotificationPackage", "", "1.2.3.4", ""};
    EXPECT_EQ(
        R"({"bean":{"aid":"dev-1","env":"production","from":"","netType":"","platform":"Windows","referer":"","sr":"","uid":"","version":"26.9.16.0","vp":""},)"
        R"("d2":[{"fields":"{\"level\":\"error\",\"plugin\":\"custom\",\"type\":\"normal\"}",)"
        R"("message":["{\"client_timestamp\":T,\"error_code\":-2147024894,\"error_message\":\"\",\"event_name\":\"msix_install\",)"
        R"(\"function_name\":\"InstallNotificationPackage\",\"new_version\":\"\",\"old_version\":\"1.2.3.4\",\"sub_event_name\":\"upgrade\",\"timestamp\":T}"],)"
        R"("timestamp":T}],"ext":"{}","scheme":"v2","topic":"SDK-7d2e81f0a93b5c46e128"})",
        WithTimestampsReplaced(quorvel::BuildReportBody(1, quorvel::ToEventObject(error), "dev-1",
                                                        quorvel::kReporterVersion, quorvel::kSdkIdentifier)));

    quorvel::ToggleEventInfo toggle{"msix_install_kiv_check", "result", "cache", -1};
    EXPECT_EQ(
        R"({"bean":{"aid":"","env":"production","from":"","netType":"","platform":"Windows","referer":"","sr":"","uid":"","version":"26.9.16.0","vp":""},)"
        R"("d2":[{"fields":"{\"level\":\"info\",\"plugin\":\"custom\",\"type\":\"normal\"}",)"
        R"("message":["{\"client_timestamp\":T,\"event_name\":\"msix_install_kiv_check\",\"install_toggle\":-1,)"
        R"(\"source\":\"cache\",\"sub_event_name\":\"result\",\"timestamp\":T}"],)"
        R"("timestamp":T}],"ext":"{}","scheme":"v2","topic":"SDK-7d2e81f0a93b5c46e128"})",
        WithTimestampsReplaced(quorvel::BuildReportBody(0, quorvel::ToEventObject(toggle), "",
                                                        quorvel::kReporterVersion, quorvel::kSdkIdentifier)));
}

TEST(ReportBody, LevelsAndAnEventTimestampOverridingOnlyTheMessage) {
    EXPECT_STREQ("info", quorvel::LevelText(0));
    EXPECT_STREQ("error", quorvel::LevelText(1));
    EXPECT_STREQ("info", quorvel::LevelText(2));
    EXPECT_STREQ("info", quorvel::LevelText(0xFFFFFFFF));

    Json::Value event(Json::objectValue);
    event["timestamp"] = 42;
    const auto before = MillisecondsSince1970();
    const std::string body = quorvel::BuildReportBody(7, event, "a", "v", "t");
    const auto after = MillisecondsSince1970();
    Json::Value outer, message;
    std::istringstream(body) >> outer;  // a text that is no JSON throws, failing the test
    std::istringstream(outer["d2"][0]["message"][0].asString()) >> message;
    EXPECT_EQ(42, message["timestamp"].asInt64());
    EXPECT_EQ(outer["d2"][0]["timestamp"].asInt64(), message["client_timestamp"].asInt64());
    // Milliseconds since 1970: not 100-ns ticks, microseconds or a 1601 epoch
    // (the margin covers a coarser clock on this side).
    EXPECT_GE(outer["d2"][0]["timestamp"].asInt64(), before - 20);
    EXPECT_LE(outer["d2"][0]["timestamp"].asInt64(), after + 20);
    EXPECT_NE(std::string::npos, outer["d2"][0]["fields"].asString().find("\"level\":\"info\""));
}

TEST(ReportCrypto, QueuedBytesAreAesCbcWithBlockPaddingUnderTheBuildsKeyAndIv) {
    for (const std::string& plain : {std::string(), std::string(16, 'x'), std::string("{\"aid\":\"\u00e9\"}"),
                                    std::string(1000, '\0')}) {
        const auto cipher = quorvel::EncryptReport(plain);
        EXPECT_EQ((plain.size() / 16 + 1) * 16, cipher.size()) << "a full block of padding at least";
        EXPECT_EQ(plain, CbcDecrypt(cipher).value_or("<undecryptable>"));
        EXPECT_EQ(plain, quorvel::DecryptReport(cipher));
    }
    // The same constants every time: equal bodies give equal files.
    EXPECT_EQ(quorvel::EncryptReport("same"), quorvel::EncryptReport("same"));
}

// Report threads and the caller's thread encrypt at once; one lock keeps them
// out of CNG together.
TEST(ReportCrypto, TwoThreadsNeverEncryptAtTheSameTime) {
    const ImportPatch patch("bcrypt.dll", "BCryptEncrypt", reinterpret_cast<const void*>(&WatchedEncrypt));
    g_encryptWatch.patch = &patch;
    std::atomic<bool> allRight{true};
    const auto encryptMany = [&allRight](const std::string& plain) {
        for (int i = 0; i < 30; ++i) {
            if (quorvel::DecryptReport(quorvel::EncryptReport(plain)) != plain) allRight = false;
        }
    };
    std::thread first(encryptMany, "first thread's report");
    std::thread second(encryptMany, "second thread's report");
    first.join();
    second.join();
    EXPECT_TRUE(allRight);
    EXPECT_FALSE(g_encryptWatch.together);
    EXPECT_EQ(0, g_encryptWatch.inside);
}

TEST(ReportCrypto, DataThatIsNotAQueuedReportDecryptsToNothing) {
    auto cipher = quorvel::EncryptReport("a body long enough for two blocks");
    ASSERT_EQ(48u, cipher.size());
    EXPECT_EQ("", quorvel::DecryptReport({}));
    EXPECT_EQ("", quorvel::DecryptReport(std::vector<std::uint8_t>(cipher.begin(), cipher.end() - 1)));
    EXPECT_EQ("", quorvel::DecryptReport(Bytes("fifteen bytes!!")));
    // The last block decides the padding: flip its first byte's partner in the block before.
    auto broken = cipher;
    broken[broken.size() - 17] ^= 0x5a;
    EXPECT_EQ("", quorvel::DecryptReport(broken));
}
