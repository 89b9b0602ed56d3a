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

namespace {

using Answer = LoopbackCollector::Answer;

std::string Compact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

Json::Value SampleReport(long long timestamp = 1700000000123) {
    Json::Value bean;
    for (const char* empty : {"from", "netType", "referer", "sr", "uid", "vp"}) bean[empty] = "";
    bean["aid"] = "device-1";
    bean["env"] = "production";
    bean["platform"] = "Windows";
    bean["version"] = "26.9.16.0";
    Json::Value fields;
    fields["level"] = "error";
    fields["plugin"] = "custom";
    fields["type"] = "normal";
    Json::Value message;
    message["timestamp"] = message["client_timestamp"] = Json::Int64(timestamp);
    message["event_name"] = "install";
    message["error_code"] = -2147024891;
    Json::Value entry;
    entry["fields"] = Compact(fields);
    entry["message"].append(Compact(message));
    entry["timestamp"] = Json::Int64(timestamp);
    Json::Value report;
    report["bean"] = bean;
    report["d2"].append(entry);
    report["ext"] = "{}";
    report["scheme"] = "v2";
    report["topic"] = "SDK-7d2e81f0a93b5c46e128";
    return report;
}

std::string ReplacedOnce(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    if (at == std::string::npos) ADD_FAILURE() << "no " << from << " in " << text;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// The body of a report whose inner JSON text (fields or message) is changed.
std::string WithInnerText(const char* member, const std::function<Json::Value(Json::Value)>& change) {
    Json::Value report = SampleReport();
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
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        const DWORD timeoutMs = 10000;
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeoutMs), sizeof(timeoutMs));
        EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        const std::string request = method + " " + path + " HTTP/1.1\r\nHost: collector.test\r\n" +
                                    "Content-Type: text/plain; charset=UTF-8\r\nContent-Length: " +
                                    std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
        EXPECT_EQ(send(socket_, request.data(), static_cast<int>(request.size()), 0), static_cast<int>(request.size()));
    }
    TestClient(const TestClient&) = delete;
    TestClient& operator=(const TestClient&) = delete;
    ~TestClient() { closesocket(socket_); }

    // The status of the answer, 0 when the connection closed without one.
    int Status() {
        std::string response;
        char buffer[1024];
        for (int n; (n = recv(socket_, buffer, sizeof(buffer), 0)) > 0;) response.append(buffer, n);
        return response.starts_with("HTTP/1.1 ") ? std::stoi(response.substr(9, 3)) : 0;
    }

private:
    SOCKET socket_;
};

int Post(const LoopbackCollector& collector, const std::string& body, const std::string& method = "POST",
         const std::string& path = "/collect") {
    return TestClient(collector.Port(), method, path, body).Status();
}

TEST(LoopbackCollector, AcceptsAndDecodesAWellFormedReport) {
    LoopbackCollector collector;
    EXPECT_EQ(collector.HostMapping(L"reports.test"), L"reports.test=127.0.0.1:" + std::to_wstring(collector.Port()));
    const std::string body = Compact(SampleReport());

    EXPECT_EQ(Post(collector, body), 200);

    ASSERT_TRUE(collector.WaitForAccepted(1, 5000));
    const auto report = collector.Accepted().at(0);
    EXPECT_EQ(report.method, "POST");
    EXPECT_EQ(report.path, "/collect");
    EXPECT_EQ(report.contentType, "text/plain; charset=UTF-8");
    EXPECT_EQ(report.body, body);
    EXPECT_EQ(report.problem, "");
    EXPECT_EQ(report.answer.status, 200);
    EXPECT_EQ(report.message["event_name"], "install");
    EXPECT_EQ(report.message["error_code"].asInt(), -2147024891);
    EXPECT_EQ(report.message["client_timestamp"].asInt64(), 1700000000123);
}

TEST(LoopbackCollector, NamesWhatIsWrongWithABody) {
    const std::string valid = Compact(SampleReport());
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

TEST(LoopbackCollector, RejectsOtherRequestsWithoutTakingAPlannedAnswer) {
    LoopbackCollector collector;
    collector.QueueAnswer(Answer::Now(503));
    const std::string body = Compact(SampleReport());

    EXPECT_EQ(Post(collector, body, "PUT"), 400);
    EXPECT_EQ(Post(collector, body, "POST", "/other"), 400);
    EXPECT_EQ(Post(collector, "{}"), 400);
    EXPECT_EQ(Post(collector, body), 503);

    ASSERT_TRUE(collector.WaitForReceived(4, 5000));
    const auto received = collector.Received();
    EXPECT_EQ(received[0].problem, "method PUT, not POST");
    EXPECT_EQ(received[1].problem, "path /other, not /collect");
    EXPECT_EQ(received[2].problem, "the body has no member \"bean\"");
    EXPECT_TRUE(received[2].message.isNull());
    EXPECT_TRUE(collector.Accepted().empty());
}

TEST(LoopbackCollector, AnswersQueuedPlansInOrderThenTheStandingOne) {
    LoopbackCollector collector;
    collector.AnswerWith(500);
    collector.QueueAnswer(Answer::Now(204));
    collector.QueueAnswer(Answer::Now(200));
    const std::string body = Compact(SampleReport());

    EXPECT_EQ(Post(collector, body), 204);
    EXPECT_EQ(Post(collector, body), 200);
    EXPECT_EQ(Post(collector, body), 500);
    EXPECT_EQ(Post(collector, body), 500);
    ASSERT_TRUE(collector.WaitForReceived(4, 5000));
    EXPECT_EQ(collector.Accepted().size(), 1u);
}

TEST(LoopbackCollector, LateAnswerComesAfterItsDelay) {
    LoopbackCollector collector;
    collector.QueueAnswer(Answer::After(1000, 200));
    const auto start = std::chrono::steady_clock::now();
    TestClient client(collector.Port(), "POST", "/collect", Compact(SampleReport()));

    ASSERT_TRUE(collector.WaitForReceived(1, 5000));
    EXPECT_FALSE(collector.Received()[0].answered);
    EXPECT_EQ(client.Status(), 200);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    EXPECT_TRUE(collector.WaitForAccepted(1, 5000));
}

TEST(LoopbackCollector, StoppingGivesUpALateAnswer) {
    auto collector = std::make_unique<LoopbackCollector>();
    collector->QueueAnswer(Answer::After(60000, 200));
    TestClient client(collector->Port(), "POST", "/collect", Compact(SampleReport()));
    ASSERT_TRUE(collector->WaitForReceived(1, 5000));

    const auto start = std::chrono::steady_clock::now();
    collector.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(client.Status(), 0);
}

TEST(LoopbackCollector, DropClosesWithoutAnswer) {
    LoopbackCollector collector;
    collector.QueueAnswer(Answer::Dropped());

    EXPECT_EQ(Post(collector, Compact(SampleReport())), 0);
    EXPECT_EQ(Post(collector, Compact(SampleReport())), 200);
    ASSERT_TRUE(collector.WaitForAccepted(1, 5000));
    const auto received = collector.Received();
    EXPECT_EQ(received[0].answer.kind, Answer::Kind::Drop);
    EXPECT_FALSE(received[0].answered);
    EXPECT_EQ(collector.Accepted().size(), 1u);
}

}  // namespace
