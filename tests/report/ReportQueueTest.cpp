// The on-disk queue: saving through the storage API, claims between
// processes, rollback and the recovery of stale claims.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "AsyncWait.h"
#include "HostLogFile.h"
#include "QuorvelClock.h"
#include "QuorvelReportClaim.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelReportStorage.h"
#include "ReportTestSupport.h"
#include "SimRuntimeControl.h"
#include "TestMain.h"
#include "TestProcess.h"
#include "UniqueHandle.h"

namespace {

bool EndsWith(const std::wstring& text, const std::wstring& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::vector<std::string> MessagesSince(const HostLogCursor& cursor) { return Messages(cursor.NewLines()); }

bool Contains(const std::vector<std::string>& lines, const std::string& part) {
    for (const auto& line : lines) {
        if (line.find(part) != std::string::npos) return true;
    }
    return false;
}

// A claimed name whose claim is `age` seconds old.
std::wstring ClaimedName(const std::wstring& stem, long long age) {
    return stem + L".uploading.4242." + std::to_wstring(quorvel::UnixSecondsNow() - age);
}

UniqueHandle StartRacer(const QueueFolder& folder, const std::wstring& output, const std::wstring& event,
                        const std::wstring& log) {
    std::wstring command = L"\"" + BinaryFolder() + L"\\ReportClaimRacer.exe\" \"" + folder.path() + L".\" \"" +
                           output + L"\" " + event + L" \"" + log + L"\"";
    STARTUPINFOW startup = {sizeof(startup)};
    PROCESS_INFORMATION process = {};
    EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    CloseHandle(process.hThread);
    return UniqueHandle(process.hProcess);
}

std::vector<std::wstring> Lines(const std::wstring& path) {
    std::istringstream in(ReadFileBytes(path));
    std::vector<std::wstring> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(Utf8ToWideText(line));
    return lines;
}

// Every test starts from the simulation's defaults.
class ReportQueue : public testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
};

}  // namespace

TEST_F(ReportQueue, ASaveWritesATemporaryFileAndRenamesItToAQueuedOne) {
    QueueFolder folder;
    const std::wstring path = quorvel::SaveEncryptedReport(folder.path(), "{\"a\":1}");
    ASSERT_TRUE(EndsWith(path, L".json")) << WideToUtf8Text(path);
    const std::wstring name = path.substr(path.find_last_of(L'\\') + 1);
    EXPECT_EQ(std::vector<std::wstring>{name}, folder.Names());
    EXPECT_EQ(24u, name.size()) << "nanoseconds since 1970, then .json";
    EXPECT_TRUE(EndsWith(name, L"00.json")) << "100-ns ticks times 100";
    const std::string bytes = ReadFileBytes(path);
    EXPECT_EQ("{\"a\":1}", quorvel::DecryptReport({bytes.begin(), bytes.end()}));
    const std::wstring stem = name.substr(0, name.size() - 5);
    const auto calls = sim_control::call_log();
    EXPECT_NE(calls.end(), std::find(calls.begin(), calls.end(), L"StorageFolder.CreateFileAsync(" + stem + L".tmp, 2)"))
        << "created under its temporary name, failing if it exists";
}

TEST_F(ReportQueue, AFailedSaveLeavesNothingQueuedAndNoTemporaryFile) {
    HostLogCursor cursor(TestLogPath());
    EXPECT_EQ(L"", quorvel::SaveEncryptedReport(L"C:\\no-such-folder\\reports\\", "{}"));
    EXPECT_TRUE(Contains(MessagesSince(cursor), "[Quorvel] Encrypt save exception: hr=0x80070003"));

    // A queued file of the same name appears while the report is written.
    QueueFolder folder;
    sim_control::set_async_delay_ms(300);
    const auto saving = quorvel::SaveEncryptedReportAsync(folder.path(), quorvel::EncryptReport("{}"));
    std::wstring taken;
    for (int i = 0; i < 400 && taken.empty(); ++i, Sleep(5)) {
        for (const auto& name : folder.Names()) {
            if (EndsWith(name, L".tmp")) taken = name.substr(0, name.size() - 4) + L".json";
        }
    }
    ASSERT_FALSE(taken.empty()) << "no temporary file seen";
    ASSERT_TRUE(WriteFileBytes(folder / taken, "someone else's"));
    EXPECT_EQ(L"", rt::wait_for_result(saving.get()).str());
    EXPECT_EQ(std::vector<std::wstring>{taken}, folder.Names());
    EXPECT_EQ("someone else's", ReadFileBytes(folder / taken));
    const auto messages = MessagesSince(cursor);
    EXPECT_TRUE(Contains(messages, "[Quorvel] Encrypt save exception: hr=0x800700B7, MoveFileExW tmp->json failed"));
    EXPECT_FALSE(Contains(messages, "Clean tmp"));
}

TEST_F(ReportQueue, EachFileIsClaimedByExactlyOneOfTwoRacingProcesses) {
    QueueFolder folder;
    std::set<std::wstring> queued;
    for (int i = 0; i < 60; ++i) queued.insert(QueueReport(folder, SampleBody("race")));
    TempFolder work;
    const std::wstring event = L"orvale-claim-race-" + FreshGuidText();
    const UniqueHandle start(CreateEventW(nullptr, TRUE, FALSE, event.c_str()));
    const UniqueHandle first = StartRacer(folder, work / L"first.txt", event, work / L"first.log");
    const UniqueHandle second = StartRacer(folder, work / L"second.txt", event, work / L"second.log");
    Sleep(300);
    SetEvent(start.get());
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(first.get(), 30000));
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(second.get(), 30000));

    std::set<std::wstring> stems;
    size_t claims = 0;
    for (const auto* output : {L"first.txt", L"second.txt"}) {
        for (const auto& claimed : Lines(work / output)) {
            ++claims;
            stems.insert(claimed.substr(0, claimed.find(L".uploading.")) + L".json");
        }
    }
    EXPECT_EQ(queued.size(), claims) << "a file claimed twice, or not at all";
    EXPECT_EQ(queued, stems);
    const auto log = ReadHostLog(work / L"first.log");
    const auto rivalLog = ReadHostLog(work / L"second.log");
    const size_t skipped = LinesContaining(log, "claim skipped (normal)").size() +
                           LinesContaining(rivalLog, "claim skipped (normal)").size();
    EXPECT_EQ(queued.size(), skipped) << "every file was lost once by one of the two";
}

TEST_F(ReportQueue, RollbackAndStaleRecoveryGiveQueuedNamesBack) {
    QueueFolder folder;
    const std::wstring claimed = L"1731500000123456700.uploading.4242.1731500000";
    ASSERT_TRUE(WriteFileBytes(folder / claimed, "x"));
    quorvel::RollbackClaimedFile(folder / claimed);
    EXPECT_EQ(std::vector<std::wstring>{L"1731500000123456700.json"}, folder.Names());
    quorvel::RollbackClaimedFile(folder / L"1731500000123456700.json");  // not a claim: left alone
    EXPECT_EQ(std::vector<std::wstring>{L"1731500000123456700.json"}, folder.Names());

    // 900 s is not stale yet, 901 s is; a claim time that is no number never is.
    for (int attempt = 0; attempt < 3; ++attempt) {
        QueueFolder claims;
        const long long before = quorvel::UnixSecondsNow();
        WriteFileBytes(claims / ClaimedName(L"100", 900), "a");
        WriteFileBytes(claims / ClaimedName(L"200", 901), "b");
        WriteFileBytes(claims / L"300.uploading.4242.abc", "c");
        HostLogCursor cursor(TestLogPath());
        quorvel::RecoverStaleClaimedFiles(claims.path());
        if (quorvel::UnixSecondsNow() != before) continue;  // the second turned meanwhile: ages moved
        const auto names = claims.Names();
        ASSERT_EQ(3u, names.size());
        EXPECT_EQ(0u, names[0].rfind(L"100.uploading.4242.", 0));
        EXPECT_EQ(L"200.json", names[1]);
        EXPECT_EQ(L"300.uploading.4242.abc", names[2]);
        const auto lines = MessagesSince(cursor);
        ASSERT_EQ(1u, LinesContaining(cursor.NewLines(), "recovering stale file").size());
        EXPECT_TRUE(Contains(lines, "[Quorvel] recovering stale file: " + WideToUtf8Text(ClaimedName(L"200", 901)) +
                                        " age=901s"));
        return;
    }
    FAIL() << "the clock turned a second during every attempt";
}

TEST_F(ReportQueue, NothingIsClaimedWithoutADeviceIdentifier) {
    QueueFolder folder;
    const std::wstring name = QueueReport(folder, SampleBody("no-aid", ""));
    EXPECT_TRUE(quorvel::ProcessReportFile(folder / name, CollectorUrl(), ""));
    EXPECT_EQ(std::vector<std::wstring>{name}, folder.Names());

    HostLogCursor cursor(TestLogPath());
    EXPECT_FALSE(quorvel::ClaimReportFile(folder / L"gone.json").has_value());
    EXPECT_TRUE(Contains(MessagesSince(cursor), "[Quorvel] claim skipped (normal): gone.json err=2"));
}
