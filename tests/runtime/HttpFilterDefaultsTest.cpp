// What the base protocol filter's defaults, which the module keeps, do to a
// report: redirects followed, credentials asked for, cookies sent back. The
// loopback collector gives the answers; the simulation records each hop.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

#include "HttpSimControl.h"
#include "QuorvelReportClaim.h"
#include "ReportTestSupport.h"
#include "SimRuntimeControl.h"

namespace {

using Answer = LoopbackCollector::Answer;

class HttpFilterDefaults : public testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
};

// 301, 302 and 303 make the report's POST a GET without its body; the GET's
// 200 counts as delivered and deletes a report no collector received. 307
// and 308 repeat the POST with its body.
TEST_F(HttpFilterDefaults, ARedirectedReportIsDeletedWhateverTheSecondRequestCarried) {
    const struct {
        int status;
        const char* method;
        size_t accepted;
    } cases[] = {{301, "GET", 0}, {302, "GET", 0}, {303, "GET", 0}, {307, "POST", 1}, {308, "POST", 1}};
    for (const auto& redirect : cases) {
        SCOPED_TRACE(redirect.status);
        sim_control::reset();
        QueueFolder folder;
        const std::wstring name = QueueReport(folder, SampleBody("redirected"));
        MappedCollector collector;
        collector.QueueAnswer(Answer::WithHeader(redirect.status, "Location: /collect"));
        collector.AnswerOthersWith(200);

        EXPECT_TRUE(quorvel::ProcessReportFile(folder / name, CollectorUrl(), "dev-1"));

        EXPECT_TRUE(folder.Names().empty());
        const auto received = collector.Received();
        ASSERT_EQ(received.size(), 2u);
        EXPECT_EQ(received[1].method, redirect.method);
        EXPECT_EQ(received[1].body, redirect.accepted ? received[0].body : "");
        EXPECT_EQ(collector.Accepted().size(), redirect.accepted);
        const std::wstring method(redirect.method, redirect.method + std::strlen(redirect.method));
        EXPECT_EQ(sim_control::http_filter_record(),
                  (std::vector<std::wstring>{L"POST " + CollectorUrl() + L" " + std::to_wstring(redirect.status),
                                             method + L" " + CollectorUrl() + L" 200"}));
    }
}

TEST_F(HttpFilterDefaults, ACredentialChallengeRaisesAPromptAndTheReportStaysQueued) {
    QueueFolder folder;
    const std::wstring name = QueueReport(folder, SampleBody("challenged"));
    MappedCollector collector;
    collector.QueueAnswer(Answer::WithHeader(401, "WWW-Authenticate: Basic realm=\"collector\""));

    EXPECT_FALSE(quorvel::ProcessReportFile(folder / name, CollectorUrl(), "dev-1"));

    EXPECT_EQ(folder.Names(), std::vector<std::wstring>{name});
    EXPECT_EQ(sim_control::http_filter_record(),
              (std::vector<std::wstring>{L"POST " + CollectorUrl() + L" 401",
                                         L"credential prompt for " + CollectorUrl() + L": Basic realm=\"collector\""}));
}

TEST_F(HttpFilterDefaults, ACookieTheCollectorSetsGoesBackWithTheNextReport) {
    QueueFolder folder;
    const std::wstring first = QueueReport(folder, SampleBody("first"));
    const std::wstring second = QueueReport(folder, SampleBody("second"));
    MappedCollector collector;
    collector.QueueAnswer(Answer::WithHeader(200, "Set-Cookie: route=b7; Path=/; HttpOnly"));

    EXPECT_TRUE(quorvel::ProcessReportFile(folder / first, CollectorUrl(), "dev-1"));
    EXPECT_TRUE(quorvel::ProcessReportFile(folder / second, CollectorUrl(), "dev-1"));

    const auto received = collector.Received();
    ASSERT_EQ(received.size(), 2u);
    EXPECT_EQ(received[0].cookie, "");
    EXPECT_EQ(received[1].cookie, "route=b7");
}

}  // namespace
