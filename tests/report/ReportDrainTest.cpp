// The closing drain: reports started on report threads reach the collector
// before the process ends, through the module's own report folder.
#include <gtest/gtest.h>

#include <filesystem>

#include "QuorvelReportStorage.h"
#include "QuorvelReportUtils.h"
#include "ReportTestSupport.h"
#include "SimRuntimeControl.h"
#include "TestProcess.h"

namespace {
bool RunProbe(int reports, const std::wstring& deviceId) {
    return RunProcess(L"\"" + BinaryFolder() + L"\\ReportDrainProbe.exe\" " + std::to_wstring(reports),
                      {{L"ORVALE_STANDALONE_DEVICE_GUID", deviceId}})
        .finished;
}
}  // namespace

TEST(ReportDrain, ReportThreadsAreJoinedAndTheirReportsPostedBeforeTheProcessEnds) {
    EmptyReportFolder();
    MappedCollector collector;
    ASSERT_TRUE(RunProbe(5, L"dev-drain"));
    // Counted at once: whatever is not here now never left the process.
    EXPECT_EQ(5u, collector.Accepted().size());
    for (const auto& report : collector.Accepted()) {
        EXPECT_EQ("drain_probe", report.message["event_name"].asString());
        EXPECT_NE(std::string::npos, report.body.find("\"aid\":\"dev-drain\""));
    }
    EXPECT_TRUE(std::filesystem::is_empty(quorvel::GetReportDirectory()));
}

TEST(ReportDrain, WithoutDeviceIdentifierReportsStayQueuedForALaterRun) {
    EmptyReportFolder();
    MappedCollector collector;
    ASSERT_TRUE(RunProbe(2, L""));
    EXPECT_TRUE(collector.Received().empty());
    EXPECT_EQ(2, std::distance(std::filesystem::directory_iterator(quorvel::GetReportDirectory()),
                               std::filesystem::directory_iterator()));
    ASSERT_TRUE(RunProbe(0, L"dev-later"));
    EXPECT_EQ(2u, collector.Accepted().size());
    for (const auto& report : collector.Accepted()) EXPECT_NE(std::string::npos, report.body.find("\"aid\":\"dev-later\""));
}

// ReportEvent blocks its caller until the report is posted; with the POST held
// back, a report handed to another thread could not be at the collector yet.
TEST(ReportDrain, ReportEventPostsBeforeItReturns) {
    sim_control::reset();
    EmptyReportFolder();
    MappedCollector collector;
    sim_control::set_async_delay_ms(300);
    quorvel::ReportEvent(1, {"sync_report", "sub", 5, "ReportEventPostsBeforeItReturns", "", "", ""});
    const auto received = collector.Received();
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ("sync_report", received[0].message["event_name"].asString());
    EXPECT_TRUE(std::filesystem::is_empty(quorvel::GetReportDirectory()));
}
