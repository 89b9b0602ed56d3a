// The default install job's closing, as the process runs it: the only
// activations before the drain happen on report threads, which end before the
// entry thread posts what they left queued through the factories they fetched.
#include <windows.h>
#include <objbase.h>

#include <gtest/gtest.h>

#include <cstdlib>

#include "QuorvelReportUtils.h"
#include "ReportDrain.h"
#include "ReportTestSupport.h"
#include "SimRuntimeControl.h"

TEST(ReportApartment, TheDrainAfterEndedReportThreadsCallsIntoALiveApartment) {
    sim_control::reset();
    EmptyReportFolder();
    MappedCollector collector;
    // The report threads' own posts fail, so their reports are left to the drain.
    collector.QueueAnswer(LoopbackCollector::Answer::Now(500));
    collector.QueueAnswer(LoopbackCollector::Answer::Now(500));
    quorvel::ReportToggleEventAsync({"apartment_probe", "first", "probe", 1});
    quorvel::ReportToggleEventAsync({"apartment_probe", "second", "probe", 2});
    quorvel::JoinReportThreads();

    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    EXPECT_EQ(S_OK, CoGetApartmentType(&type, &qualifier)) << "the apartment ended with the report threads";

    DrainReports();
    EXPECT_EQ(2u, collector.Accepted().size());
}

// A process that ends while a report thread is still listed (another thread
// ended it, a join threw) ends normally: the list is never destroyed, where
// destroying a joinable thread would abort under the loader lock.
TEST(ReportApartment, AProcessEndingWithAListedReportThreadExitsNormally) {
    EmptyReportFolder();
    EXPECT_EXIT(
        {
            quorvel::ReportToggleEventAsync({"apartment_probe", "exit", "probe", 3});
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}
