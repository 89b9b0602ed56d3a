// Every outcome of the upload, against a real socket: the loopback collector
// or a port nobody listens on.
#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include <io.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>

#include "HostLogFile.h"
#include "ImportPatch.h"
#include "LoopbackSocket.h"
#include "QuorvelBuildSettings.h"
#include "QuorvelClock.h"
#include "QuorvelEndpoints.h"
#include "QuorvelReportClaim.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelReportUpload.h"
#include "ReportTestSupport.h"
#include "SimulationTest.h"
#include "StorageSimControl.h"
#include "TestMain.h"

namespace {

using Answer = LoopbackCollector::Answer;

std::vector<std::string> Lines(const HostLogCursor& cursor, const std::string& part) {
    return Messages(LinesContaining(cursor.NewLines(), part));
}

// Three queued reports, oldest first.
std::vector<std::wstring> QueueThree(const QueueFolder& folder) {
    return {QueueReport(folder, SampleBody("first")), QueueReport(folder, SampleBody("second")),
            QueueReport(folder, SampleBody("third"))};
}

// A loopback port that refuses connections: listened on once, then closed.
unsigned short ClosedPort() {
    const WinsockSession session;
    return LocalPort(ListenOnLoopback(0).get());
}

// Directory listings served last entry first: each search is read whole at
// its first call and handed out backwards.
struct BackwardsListing {
    const ImportPatch* first = nullptr;
    const ImportPatch* next = nullptr;
    std::mutex mutex;
    std::map<intptr_t, std::vector<_wfinddata64_t>> rest;
    std::atomic<int> listings{0};
};
BackwardsListing g_backwards;

intptr_t __cdecl BackwardsFindFirst(const wchar_t* pattern, _wfinddata64_t* data) {
    const intptr_t search = g_backwards.first->original<decltype(_wfindfirst64)>()(pattern, data);
    if (search == -1) return search;
    std::vector<_wfinddata64_t> all{*data};
    for (_wfinddata64_t more; g_backwards.next->original<decltype(_wfindnext64)>()(search, &more) == 0;) all.push_back(more);
    *data = all.back();
    all.pop_back();
    std::lock_guard lock(g_backwards.mutex);
    g_backwards.rest[search] = std::move(all);
    ++g_backwards.listings;
    return search;
}

int __cdecl BackwardsFindNext(intptr_t search, _wfinddata64_t* data) {
    std::lock_guard lock(g_backwards.mutex);
    const auto found = g_backwards.rest.find(search);
    if (found == g_backwards.rest.end()) return g_backwards.next->original<decltype(_wfindnext64)>()(search, data);
    if (found->second.empty()) {
        g_backwards.rest.erase(found);
        SetLastError(ERROR_NO_MORE_FILES);
        errno = ENOENT;
        return -1;
    }
    *data = found->second.back();
    found->second.pop_back();
    return 0;
}

using ReportUpload = SimulationTest;

}  // namespace

TEST_F(ReportUpload, DeliveredReportsAreDeletedAndTheFirstFailureRollsBackAndStops) {
    for (const int failure : {204, 500}) {
        QueueFolder folder;
        MappedCollector collector;
        collector.QueueAnswer(Answer::Now(200));
        collector.QueueAnswer(Answer::Now(failure));
        const auto names = QueueThree(folder);
        HostLogCursor cursor(TestLogPath());
        quorvel::UploadPendingReports(folder.path(), CollectorUrl(), "dev-1");

        EXPECT_EQ(2u, collector.Received().size()) << "the third is not touched in this run";
        EXPECT_EQ((std::vector<std::string>{"first"}), AcceptedEventNames(collector));
        EXPECT_EQ((std::vector<std::wstring>{names[1], names[2]}), folder.Names()) << failure;
        const std::string secondTrace = WideToUtf8Text(names[1].substr(0, names[1].size() - 5));
        EXPECT_EQ(1u, Lines(cursor, "[Quorvel] POST failed, status=" + std::to_string(failure) + " (" + secondTrace + ")").size());
        EXPECT_EQ(1u, Lines(cursor, "[Quorvel] upload OK, deleted: ").size());
        EXPECT_EQ(1u, Lines(cursor, "[Quorvel] POST OK: ").size());
        EXPECT_TRUE(sim_control::recycled_items().empty()) << "a delivered report went to the Recycle Bin";
    }
}

// What HttpStringContent makes of UTF-8 and "text/plain", through a filter
// that never answers from a cache.
TEST_F(ReportUpload, TheBodyIsPostedAsUtf8TextThroughAFilterThatReadsNoCache) {
    QueueFolder folder;
    MappedCollector collector;
    const std::wstring name = QueueReport(folder, SampleBody("typed"));
    EXPECT_TRUE(quorvel::ProcessReportFile(folder / name, CollectorUrl(), "dev-1"));
    ASSERT_EQ(1u, collector.Received().size());
    EXPECT_EQ("text/plain; charset=UTF-8", collector.Received()[0].contentType);
    const auto calls = sim_control::call_log();
    const auto created = std::find_if(calls.begin(), calls.end(), [](const std::wstring& call) {
        return call.starts_with(L"HttpStringContent.CreateFromStringWithEncodingAndMediaType(") &&
               call.ends_with(L", 0, text/plain)");
    });
    EXPECT_NE(calls.end(), created) << "UTF-8 (0) and text/plain";
    EXPECT_EQ(1, std::count(calls.begin(), calls.end(), L"HttpCacheControl.put_ReadBehavior(3)")) << "NoCache";
}

// The product's table may lack the row or leave its URL null.
TEST_F(ReportUpload, TheReportUrlFallsBackToTheBuiltInOne) {
    const std::wstring builtIn = quorvel::build_settings::kCollectorUrl;
    const quorvel::EndpointEntry otherKey[] = {{L"URL_OTHER", L"https://other.invalid/"}};
    const quorvel::EndpointEntry nullUrl[] = {{nullptr, L"https://nokey.invalid/"}, {quorvel::kReportEndpointKey, nullptr}};
    const quorvel::EndpointEntry ownUrl[] = {{quorvel::kReportEndpointKey, L"https://own.invalid/"},
                                             {quorvel::kReportEndpointKey, L"https://second.invalid/"}};
    EXPECT_EQ(builtIn, quorvel::GetReportUrl(nullptr, 0));
    EXPECT_EQ(builtIn, quorvel::GetReportUrl(otherKey, 1));
    EXPECT_EQ(builtIn, quorvel::GetReportUrl(nullUrl, 2));
    EXPECT_EQ(L"https://own.invalid/", quorvel::GetReportUrl(ownUrl, 2));
    EXPECT_EQ(builtIn, quorvel::GetReportUrl());
}

// Directory listings come in whatever order the file system keeps (NTFS by
// name, FAT as written; Wine hands on its own sorted listing), and the drain
// lists through std::filesystem, which reads the C runtime's _wfindfirst64 and
// _wfindnext64 (from msvcrt or the universal runtime, as the tool chain links
// it): the test serves the listing backwards through them.
TEST_F(ReportUpload, ReportsArePostedOldestFirstWhateverOrderTheFolderListsThem) {
    QueueFolder folder;
    MappedCollector collector;
    std::vector<std::string> events;
    for (int i = 0; i < 5; ++i) events.push_back("report-" + std::to_string(i));
    for (const auto& event : events) QueueReport(folder, SampleBody(event));
    const ImportPatch first(nullptr, "_wfindfirst64", reinterpret_cast<const void*>(&BackwardsFindFirst));
    const ImportPatch next(nullptr, "_wfindnext64", reinterpret_cast<const void*>(&BackwardsFindNext));
    g_backwards.first = &first;
    g_backwards.next = &next;
    quorvel::UploadPendingReports(folder.path(), CollectorUrl(), "dev-1");
    EXPECT_LT(0, g_backwards.listings.load()) << "the drain listed the folder some other way";
    EXPECT_EQ(events, AcceptedEventNames(collector));
}

// Otherwise the report would be posted again by the next drain.
TEST_F(ReportUpload, A200WhoseAnswerCannotBeReadIsDelivered) {
    QueueFolder folder;
    MappedCollector collector;
    const std::wstring name = QueueReport(folder, SampleBody("unread"));
    sim_control::fail_next_call(L"HttpStreamContent.ReadAsStringAsync", E_FAIL);
    HostLogCursor cursor(TestLogPath());
    EXPECT_TRUE(quorvel::ProcessReportFile(folder / name, CollectorUrl(), "dev-1"));
    EXPECT_TRUE(folder.Names().empty());
    EXPECT_EQ(std::vector<std::string>{"[Quorvel] POST OK: " + WideToUtf8Text(name.substr(0, name.size() - 5))},
              Lines(cursor, "[Quorvel] POST OK"));
}

TEST_F(ReportUpload, RefusedAndDroppedConnectionsRollBack) {
    QueueFolder folder;
    const std::wstring name = QueueReport(folder, SampleBody("refused"));
    {
        const ScopedVariable mapping(L"SIMRUNTIME_HTTP_HOSTS",
                                     CollectorHost() + L"=127.0.0.1:" + std::to_wstring(ClosedPort()));
        HostLogCursor cursor(TestLogPath());
        EXPECT_FALSE(quorvel::ProcessReportFile(folder / name, CollectorUrl(), "dev-1"));
        EXPECT_EQ(1u, Lines(cursor, "[Quorvel] POST exception: hr=0x80072EFD").size());
    }
    EXPECT_EQ(std::vector<std::wstring>{name}, folder.Names());

    MappedCollector collector;
    collector.QueueAnswer(Answer::Dropped());
    HostLogCursor cursor(TestLogPath());
    EXPECT_FALSE(quorvel::ProcessReportFile(folder / name, CollectorUrl(), "dev-1"));
    EXPECT_EQ(1u, Lines(cursor, "[Quorvel] POST exception: hr=0x80072EFE").size());
    EXPECT_EQ(std::vector<std::wstring>{name}, folder.Names());
    EXPECT_EQ(1u, collector.Received().size());
}

TEST_F(ReportUpload, ACollectorThatAnswersAfterTenSecondsTimesOut) {
    QueueFolder folder;
    MappedCollector collector;
    collector.QueueAnswer(Answer::After(12000, 200));
    const std::wstring name = QueueReport(folder, SampleBody("late"));
    HostLogCursor cursor(TestLogPath());
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(quorvel::ProcessReportFile(folder / name, CollectorUrl(), "dev-1"));
    const ULONGLONG elapsed = GetTickCount64() - start;
    EXPECT_GE(elapsed, 9900u);
    EXPECT_LT(elapsed, 11900u);
    const std::string trace = WideToUtf8Text(name.substr(0, name.size() - 5));
    const auto timeouts = LinesContaining(cursor.NewLines(), "[Quorvel] POST timeout (10s): " + trace);
    ASSERT_EQ(1u, timeouts.size());
    EXPECT_EQ(2, timeouts[0].level);
    EXPECT_EQ(std::vector<std::wstring>{name}, folder.Names()) << "rolled back";
}

TEST_F(ReportUpload, EmptyAndUndecryptableClaimsAreDeletedWithoutTraffic) {
    QueueFolder folder;
    MappedCollector collector;
    ASSERT_TRUE(WriteFileBytes(folder / L"1000000000000000000.json", ""));
    ASSERT_TRUE(WriteFileBytes(folder / L"1000000000000000100.json", std::string(32, 'z')));
    HostLogCursor cursor(TestLogPath());
    quorvel::UploadPendingReports(folder.path(), CollectorUrl(), "dev-1");
    EXPECT_TRUE(folder.Names().empty());
    EXPECT_TRUE(collector.Received().empty());
    EXPECT_EQ(1u, Lines(cursor, "[Quorvel] claimed file empty, deleting: 1000000000000000000.uploading.").size());
    EXPECT_EQ(1u, Lines(cursor, "[Quorvel] claimed file decrypt failed, deleting: 1000000000000000100.uploading.").size());
    EXPECT_TRUE(sim_control::recycled_items().empty());
}

TEST_F(ReportUpload, ABodyStoredWithoutDeviceIdentifierIsSentWithTheCurrentOne) {
    QueueFolder folder;
    MappedCollector collector;
    QueueReport(folder, SampleBody("late-aid", ""));
    QueueReport(folder, SampleBody("own-aid", "stored-id"));
    quorvel::UploadPendingReports(folder.path(), CollectorUrl(), "dev-9");
    ASSERT_TRUE(collector.WaitForAccepted(2, 1000));
    const auto accepted = collector.Accepted();
    EXPECT_NE(std::string::npos, accepted[0].body.find("\"aid\":\"dev-9\""));
    EXPECT_NE(std::string::npos, accepted[1].body.find("\"aid\":\"stored-id\""));
    std::string filled = SampleBody("x", "");
    quorvel::FillLateDeviceId(filled, "dev-9");
    EXPECT_EQ(SampleBody("x", "dev-9").size(), filled.size());
}

TEST_F(ReportUpload, OnlyQueuedFilesArePostedAndStaleClaimsComeBackFirst) {
    QueueFolder folder;
    MappedCollector collector;
    const std::string cipher = [] {
        const auto bytes = quorvel::EncryptReport(SampleBody("not-queued"));
        return std::string(bytes.begin(), bytes.end());
    }();
    const std::wstring fresh = L"1000000000000000200.uploading.77." + std::to_wstring(quorvel::UnixSecondsNow());
    const std::wstring stale = L"1000000000000000300.uploading.77." + std::to_wstring(quorvel::UnixSecondsNow() - 1000);
    for (const auto& name : {std::wstring(L"1000000000000000100.tmp"), fresh, std::wstring(L"notes.json.bak")}) {
        ASSERT_TRUE(WriteFileBytes(folder / name, cipher));
    }
    ASSERT_TRUE(WriteFileBytes(folder / stale, cipher));
    quorvel::UploadPendingReports(folder.path(), CollectorUrl(), "dev-1");
    EXPECT_EQ(1u, collector.Received().size()) << "only the recovered stale claim";
    EXPECT_EQ((std::vector<std::wstring>{L"1000000000000000100.tmp", fresh, L"notes.json.bak"}), folder.Names());
}
