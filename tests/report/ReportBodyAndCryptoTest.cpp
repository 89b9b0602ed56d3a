// The report body as the collector reads it, and the encrypted form queued on disk.
#include <gtest/gtest.h>

#include <json/reader.h>

#include <regex>
#include <string>

#include "AesReference.h"
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
    const std::string body = quorvel::BuildReportBody(7, event, "a", "v", "t");
    Json::Value outer, message;
    Json::CharReaderBuilder reader;
    std::string errors;
    std::istringstream bodyStream(body);
    ASSERT_TRUE(Json::parseFromStream(reader, bodyStream, &outer, &errors)) << errors;
    std::istringstream messageStream(outer["d2"][0]["message"][0].asString());
    ASSERT_TRUE(Json::parseFromStream(reader, messageStream, &message, &errors)) << errors;
    EXPECT_EQ(42, message["timestamp"].asInt64());
    EXPECT_EQ(outer["d2"][0]["timestamp"].asInt64(), message["client_timestamp"].asInt64());
    EXPECT_GT(outer["d2"][0]["timestamp"].asInt64(), 1700000000000LL);
    EXPECT_NE(std::string::npos, outer["d2"][0]["fields"].asString().find("\"level\":\"info\""));
}

TEST(ReportCrypto, QueuedBytesAreAesCbcWithBlockPaddingUnderTheBuildsKeyAndIv) {
    // The reference decryptor itself, against the cipher's published AES-256 vector.
    std::array<std::uint8_t, 32> vectorKey{};
    for (int i = 0; i < 32; ++i) vectorKey[i] = static_cast<std::uint8_t>(i);
    const std::array<std::uint8_t, 16> vectorCipher = {0x8e, 0xa2, 0xb7, 0xca, 0x51, 0x67, 0x45, 0xbf,
                                                      0xea, 0xfc, 0x49, 0x90, 0x4b, 0x49, 0x60, 0x89};
    const auto vectorPlain = ReferenceAes256DecryptBlock(vectorCipher, vectorKey);
    for (int i = 0; i < 16; ++i) ASSERT_EQ(i * 0x11, vectorPlain[i]);

    const auto& key = quorvel::build_settings::kReportKey;
    const auto& iv = quorvel::build_settings::kReportIv;
    for (const std::string& plain : {std::string(), std::string(16, 'x'), std::string("{\"aid\":\"\u00e9\"}"),
                                    std::string(1000, '\0')}) {
        const auto cipher = quorvel::EncryptReport(plain);
        EXPECT_EQ((plain.size() / 16 + 1) * 16, cipher.size()) << "a full block of padding at least";
        EXPECT_EQ(plain, ReferenceAes256CbcDecrypt(cipher, key, iv).value_or("<undecryptable>"));
        EXPECT_EQ(plain, quorvel::DecryptReport(cipher));
    }
    // The same constants every time: equal bodies give equal files.
    EXPECT_EQ(quorvel::EncryptReport("same"), quorvel::EncryptReport("same"));
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
