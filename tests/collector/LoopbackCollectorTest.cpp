// The loopback collector over a socket of the test's own. Its check of a
// report's body is what every report test judges the module's reports by, so
// each problem it names is pinned here; the planned answers are here too.
#include <winsock2.h>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <chrono>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

#include "LoopbackCollector.h"
#include "LoopbackSocket.h"

namespace {

using Answer = LoopbackCollector::Answer;

std::string Compact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

// A well-formed report: compact, members in key order, the message and the
// fields JSON texts of their own.
const std::string kReport =
    R"({"bean":{"aid":"device-1","env":"production","from":"","netType":"","platform":"Windows","referer":"",)"
    R"("sr":"","uid":"","version":"26.9.16.0","vp":""},"d2":[{"fields":"{\"level\":\"error\",\"plugin\":)"
    R"(\"custom\",\"type\":\"normal\"}","message":["{\"client_timestamp\":1700000000123,\"error_code\":)"
    R"(-2147024891,\"event_name\":\"install\",\"timestamp\":1700000000123}"],"timestamp":1700000000123}],)"
    R"("ext":"{}","scheme":"v2","topic":"SDK-7d2e81f0a93b5c46e128"})";

std::string ReplacedOnce(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    if (at == std::string::npos) ADD_FAILURE() << "no " << from << " in " << text;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// The body of a report whose inner JSON text (fields or message) is changed.
std::string WithInnerText(const char* member, const std::function<Json::Value(Json::Value)>& change) {
    Json::Value report;
    std::istringstream(kReport) >> report;
    Json::Value& entry = report["d2"][0];
    Json::Value& text = std::string(member) == "fields" ? entry["fields"] : entry["message"][0];
    Json::Value inner;
    std::istringstream stream(text.asString());
    stream >> inner;
    text = Compact(change(inner));
    return Compact(report);
}

// One request over a connection of its own, written the way the module's
// HTTP client writes it. The collector under test keeps Winsock started.
class TestClient {
public:
    TestClient(unsigned short port, const std::string& method, const std::string& path, const std::string& body)
        : socket_(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
        const SOCKET raw = socket_.get();
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        const DWORD timeoutMs = 10000;
        setsockopt(raw, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeoutMs), sizeof(timeoutMs));
        EXPECT_EQ(connect(raw, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        const std::string request = method + " " + path + " HTTP/1.1\r\nHost: collector.test\r\n" +
                                    "Content-Type: text/plain; charset=UTF-8\r\nContent-Length: " +
                                    std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
        EXPECT_EQ(send(raw, request.data(), static_cast<int>(request.size()), 0), static_cast<int>(request.size()));
    }
    // The status of the answer, 0 when the connection closed without one.
    int Status() {
        std::string response;
        char buffer[1024];
        for (int n; (n = recv(socket_.get(), buffer, sizeof(buffer), 0)) > 0;) response.append(buffer, n);
        return response.starts_with("HTTP/1.1 ") ? std::stoi(response.substr(9, 3)) : 0;
    }

private:
    UniqueSocket socket_;
};

int Post(const LoopbackCollector& collector, const std::string& body, const std::string& method = "POST",
         const std::string& path = "/collect") {
    return TestClient(collector.Port(), method, path, body).Status();
}

TEST(LoopbackCollector, NamesWhatIsWrongWithABody) {
    const std::string& valid = kReport;
    const struct {
        std::string body;
        std::string problem;
    } cases[] = {
        {"", "the body is empty"},
        {valid.substr(0, 40), "the body is not JSON"},
        {"[" + valid + "]", "the body is not an object"},
        {ReplacedOnce(valid, "\"d2\":", "\"d2\" : "), "the body is not compact JSON with members in key order: at byte"},
        {ReplacedOnce(valid, "\"ext\":\"{}\",\"scheme\":\"v2\"", "\"scheme\":\"v2\",\"ext\":\"{}\""),
         "the body is not compact JSON with members in key order"},
        {ReplacedOnce(valid, "\"ext\":\"{}\",", ""), "the body has no member \"ext\""},
        {ReplacedOnce(valid, "\"ext\":\"{}\",", "\"ext\":\"{}\",\"extra\":1,"), "the body has an unexpected member \"extra\""},
        {ReplacedOnce(valid, "\"ext\":\"{}\"", "\"ext\":{}"), "ext is not a string"},
        {ReplacedOnce(valid, "\"v2\"", "\"v1\""), "scheme is \"v1\", not \"v2\""},
        {ReplacedOnce(valid, "SDK-7d2e", "SDK-7D2E"), "topic \"SDK-7D2E81f0a93b5c46e128\" is not"},
        {ReplacedOnce(valid, "\"production\"", "\"staging\""), "bean.env is \"staging\""},
        {ReplacedOnce(valid, "\"uid\":\"\"", "\"uid\":\"u\""), "bean.uid is \"u\", not \"\""},
        {ReplacedOnce(valid, "\"aid\":\"device-1\"", "\"aid\":1"), "bean.aid is not a string"},
        {ReplacedOnce(valid, ",\"vp\":\"\"", ""), "bean has no member \"vp\""},
        {ReplacedOnce(valid, "\"d2\":[{", "\"d2\":[{},{"), "d2 is not an array of exactly one element"},
        {ReplacedOnce(valid, "\"level\\\":\\\"error", "\"level\\\":\\\"warn"), "d2[0].fields.level is neither"},
        {ReplacedOnce(valid, "{\\\"level", "{ \\\"level"), "d2[0].fields is not compact JSON"},
        {WithInnerText("fields", [](Json::Value f) { f.removeMember("plugin"); return f; }),
         "d2[0].fields has no member \"plugin\""},
        {WithInnerText("message", [](Json::Value m) { m.removeMember("client_timestamp"); return m; }),
         "d2[0].message[0].client_timestamp is not an integer"},
        {WithInnerText("message", [](Json::Value m) { m["timestamp"] = 1.5; return m; }),
         "d2[0].message[0].timestamp is not an integer"},
        {WithInnerText("message", [](Json::Value) { return Json::Value("text"); }), "d2[0].message[0] is not JSON"},
        {WithInnerText("message", [](Json::Value m) { m["client_timestamp"] = 5; return m; }),
         "d2[0].timestamp differs from the message's client_timestamp"},
    };
    EXPECT_EQ(LoopbackCollector::CheckReportBody(valid), "");
    for (const auto& c : cases) {
        const std::string problem = LoopbackCollector::CheckReportBody(c.body);
        EXPECT_TRUE(problem.starts_with(c.problem)) << "body: " << c.body << "\nproblem: " << problem;
    }
}

// Requests other than a report's never take a planned answer; the report
// tests script their collectors by that.
TEST(LoopbackCollector, AnswersReportsAsPlannedAndRejectsOtherRequestsWithoutTakingAPlan) {
    LoopbackCollector collector;
    collector.AnswerWith(500);
    collector.QueueAnswer(Answer::Now(204));
    collector.QueueAnswer(Answer::Dropped());
    collector.QueueAnswer(Answer::Now(200));
    const std::string& body = kReport;

    EXPECT_EQ(Post(collector, body, "PUT"), 400);
    EXPECT_EQ(Post(collector, body, "POST", "/other"), 400);
    EXPECT_EQ(Post(collector, "{}"), 400);
    EXPECT_EQ(Post(collector, body), 204);
    EXPECT_EQ(Post(collector, body), 0);
    EXPECT_EQ(Post(collector, body), 200);
    EXPECT_EQ(Post(collector, body), 500);
    EXPECT_EQ(Post(collector, body), 500);

    ASSERT_TRUE(collector.WaitForReceived(8, 5000));
    const auto received = collector.Received();
    EXPECT_EQ(received[0].problem, "method PUT, not POST");
    EXPECT_EQ(received[1].problem, "path /other, not /collect");
    EXPECT_EQ(received[2].problem, "the body has no member \"bean\"");
    EXPECT_TRUE(received[2].message.isNull());
    EXPECT_EQ(received[4].answer.kind, Answer::Kind::Drop);
    EXPECT_FALSE(received[4].answered);
    const auto accepted = collector.Accepted();
    ASSERT_EQ(accepted.size(), 1u);
    EXPECT_EQ(accepted[0].message["event_name"], "install");
}

TEST(LoopbackCollector, ALateAnswerComesAfterItsDelayAndStoppingGivesItUp) {
    auto collector = std::make_unique<LoopbackCollector>();
    collector->QueueAnswer(Answer::After(1000, 200));
    collector->QueueAnswer(Answer::After(60000, 200));
    const auto start = std::chrono::steady_clock::now();
    TestClient late(collector->Port(), "POST", "/collect", kReport);
    ASSERT_TRUE(collector->WaitForReceived(1, 5000));
    EXPECT_FALSE(collector->Received()[0].answered);
    EXPECT_EQ(late.Status(), 200);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    EXPECT_TRUE(collector->WaitForAccepted(1, 5000));

    TestClient abandoned(collector->Port(), "POST", "/collect", kReport);
    ASSERT_TRUE(collector->WaitForReceived(2, 5000));
    const auto stopping = std::chrono::steady_clock::now();
    collector.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - stopping, std::chrono::seconds(2));
    EXPECT_EQ(abandoned.Status(), 0);
}

}  // namespace
