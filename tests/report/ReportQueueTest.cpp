// The on-disk queue: saving through the storage API, claims between
// processes, rollback and the recovery of stale claims.
#include <gtest/gtest.h>

#include <windows.h>
#include <bcrypt.h>

#include <algorithm>
#include <ctime>
#include <optional>
#include <regex>
#include <set>

#include "AsyncWait.h"
#include "HostLogFile.h"
#include "ImportPatch.h"
#include "QuorvelClock.h"
#include "QuorvelReportClaim.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelReportStorage.h"
#include "ReportTestSupport.h"
#include "SimulationTest.h"
#include "TestMain.h"
#include "TestProcess.h"
#include "UniqueHandle.h"

namespace {

// How many lines since the cursor contain `part`.
size_t Logged(const HostLogCursor& cursor, const std::string& part) { return LinesContaining(cursor.NewLines(), part).size(); }

// The temporary file cannot be removed.
BOOL WINAPI RefusedDelete(LPCWSTR) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

NTSTATUS WINAPI RefusedEncrypt(BCRYPT_KEY_HANDLE, PUCHAR, ULONG, VOID*, PUCHAR, ULONG, PUCHAR, ULONG, ULONG*, ULONG) {
    return static_cast<NTSTATUS>(0xC0000001L);  // STATUS_UNSUCCESSFUL
}

// Another recovery renames the claim back between this one's listing and its own rename.
decltype(&MoveFileExW) g_move = nullptr;
BOOL WINAPI RivalRenamesFirst(LPCWSTR from, LPCWSTR to, DWORD flags) {
    g_move(from, to, flags);
    return g_move(from, to, flags);
}

// A claimed name whose claim is `age` seconds old.
std::wstring ClaimedName(const std::wstring& stem, long long age) {
    return stem + L".uploading.4242." + std::to_wstring(quorvel::UnixSecondsNow() - age);
}

UniqueHandle StartRacer(const QueueFolder& folder, const std::wstring& output, const std::wstring& event,
                        const std::wstring& log) {
    return UniqueHandle(StartProcess(L"\"" + BinaryFolder() + L"\\ReportClaimRacer.exe\" \"" + folder.path() + L".\" \"" +
                                     output + L"\" " + event + L" \"" + log + L"\""));
}

using ReportQueue = SimulationTest;

}  // namespace

TEST_F(ReportQueue, ASaveWritesATemporaryFileAndRenamesItToAQueuedOne) {
    QueueFolder folder;
    const std::wstring path = quorvel::SaveEncryptedReport(folder.path(), "{\"a\":1}");
    ASSERT_TRUE(path.ends_with(L".json")) << WideToUtf8Text(path);
    const std::wstring name = path.substr(path.find_last_of(L'\\') + 1);
    EXPECT_EQ(std::vector<std::wstring>{name}, folder.Names());
    EXPECT_EQ(24u, name.size()) << "nanoseconds since 1970, then .json";
    EXPECT_TRUE(name.ends_with(L"00.json")) << "100-ns ticks times 100";
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
    EXPECT_EQ(1u, Logged(cursor, "[Quorvel] Encrypt save exception: hr=0x80070003"));
    {
        SCOPED_TRACE("encryption fails");
        QueueFolder folder;
        const ImportPatch refused("bcrypt.dll", "BCryptEncrypt", reinterpret_cast<const void*>(&RefusedEncrypt));
        EXPECT_TRUE(quorvel::EncryptReport("{}").empty());
        EXPECT_EQ(L"", quorvel::SaveEncryptedReport(folder.path(), "{}"));
        EXPECT_TRUE(folder.Names().empty());
    }
    {
        SCOPED_TRACE("the write fails");
        QueueFolder folder;
        sim_control::fail_next_call(L"FileIO.WriteBytesAsync", E_ACCESSDENIED);
        const HostLogCursor saveLog(TestLogPath());
        EXPECT_EQ(L"", quorvel::SaveEncryptedReport(folder.path(), "{}"));
        EXPECT_TRUE(folder.Names().empty()) << "the temporary file is left";
        const auto cleaning = LinesContaining(saveLog.NewLines(), "cleaning tmp");
        ASSERT_EQ(1u, cleaning.size());
        EXPECT_EQ(2, cleaning[0].level);
        EXPECT_TRUE(std::regex_match(cleaning[0].message,
                                     std::regex(R"(\[Quorvel\] Encrypt save write/rename failed, cleaning tmp: \d{19}\.tmp)")))
            << cleaning[0].message;
    }

    // A queued file of the same name appears while the report is written; the
    // rename fails, and then the temporary file is removed, or cannot be.
    for (const bool deleteRefused : {false, true}) {
        SCOPED_TRACE(deleteRefused ? "delete refused" : "delete allowed");
        QueueFolder folder;
        sim_control::set_async_delay_ms(300);
        std::optional<ImportPatch> refuseDelete;
        if (deleteRefused) refuseDelete.emplace("kernel32.dll", "DeleteFileW", reinterpret_cast<void*>(&RefusedDelete));
        const HostLogCursor saveLog(TestLogPath());
        const auto saving = quorvel::SaveEncryptedReportAsync(folder.path(), quorvel::EncryptReport("{}"));
        std::wstring tmp;
        for (int i = 0; i < 400 && tmp.empty(); ++i, Sleep(5)) {
            for (const auto& name : folder.Names()) {
                if (name.ends_with(L".tmp")) tmp = name;
            }
        }
        ASSERT_FALSE(tmp.empty()) << "no temporary file seen";
        const std::wstring taken = tmp.substr(0, tmp.size() - 4) + L".json";
        ASSERT_TRUE(WriteFileBytes(folder / taken, "someone else's"));
        EXPECT_EQ(L"", rt::wait_for_result(saving.get()).str());
        refuseDelete.reset();
        EXPECT_EQ("someone else's", ReadFileBytes(folder / taken));
        const auto lines = saveLog.NewLines();
        const auto unknown = LinesContaining(lines, "[Quorvel] Encrypt save unknown exception");
        ASSERT_EQ(1u, unknown.size()) << ::testing::PrintToString(Messages(lines));
        EXPECT_EQ(3, unknown[0].level);
        EXPECT_TRUE(LinesContaining(lines, "Encrypt save exception").empty()) << "not an error of the runtime calls";
        const auto cleanFailed = LinesContaining(lines, "Clean tmp");
        if (!deleteRefused) {
            EXPECT_EQ(std::vector<std::wstring>{taken}, folder.Names());
            EXPECT_TRUE(cleanFailed.empty());
            continue;
        }
        EXPECT_EQ((std::vector<std::wstring>{taken, tmp}), folder.Names());
        ASSERT_EQ(1u, cleanFailed.size()) << ::testing::PrintToString(Messages(lines));
        EXPECT_EQ(2, cleanFailed[0].level);
        EXPECT_EQ("[Quorvel] Clean tmp after rename failed: " + WideToUtf8Text(tmp) + " err=183", cleanFailed[0].message)
            << "the rename's error, not the delete's";
    }
}

TEST_F(ReportQueue, EachFileIsClaimedByExactlyOneOfTwoRacingProcesses) {
    QueueFolder folder;
    std::set<std::wstring> queued;
    for (int i = 0; i < 60; ++i) queued.insert(QueueReport(folder, SampleBody("race")));
    TempFolder work;
    const std::wstring event = L"orvale-claim-race-" + FreshGuidText();
    const UniqueHandle start(CreateEventW(nullptr, TRUE, FALSE, event.c_str()));
    const UniqueHandle listed(CreateSemaphoreW(nullptr, 0, 2, (event + L"-listed").c_str()));
    const UniqueHandle first = StartRacer(folder, work / L"first.txt", event, work / L"first.log");
    const UniqueHandle second = StartRacer(folder, work / L"second.txt", event, work / L"second.log");
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(listed.get(), 30000));
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(listed.get(), 30000));
    SetEvent(start.get());
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(first.get(), 30000));
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(second.get(), 30000));

    std::set<std::wstring> stems;
    size_t claims = 0;
    for (const auto* output : {L"first.txt", L"second.txt"}) {
        for (const auto& claimed : TextLines(ReadFileBytes(work / output))) {
            ++claims;
            stems.insert(Utf8ToWideText(claimed.substr(0, claimed.find(".uploading."))) + L".json");
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
        EXPECT_EQ(1u, Logged(cursor, "recovering stale file"));
        EXPECT_EQ(1u, Logged(cursor, "[Quorvel] recovering stale file: " + WideToUtf8Text(ClaimedName(L"200", 901)) +
                                         " age=901s "));
        return;
    }
    FAIL() << "the clock turned a second during every attempt";
}

TEST_F(ReportQueue, TwoRecoveriesOfOneStaleClaimLoseNothingAndTheLoserSaysSo) {
    QueueFolder folder;
    const std::wstring claimed = ClaimedName(L"100", 1000);
    ASSERT_TRUE(WriteFileBytes(folder / claimed, "a"));
    HostLogCursor cursor(TestLogPath());
    {
        const ImportPatch rival("kernel32.dll", "MoveFileExW", reinterpret_cast<const void*>(&RivalRenamesFirst));
        g_move = rival.original<std::remove_pointer_t<decltype(g_move)>>();
        quorvel::RecoverStaleClaimedFiles(folder.path());
    }
    EXPECT_EQ(std::vector<std::wstring>{L"100.json"}, folder.Names());
    const auto failed = LinesContaining(cursor.NewLines(), "rollback failed");
    ASSERT_EQ(1u, failed.size());
    EXPECT_EQ(2, failed[0].level);
    EXPECT_EQ("[Quorvel] rollback failed: " + WideToUtf8Text(claimed) + " (err=2)", failed[0].message);
}

// Claim times are seconds since 1970: the stale-claim recovery compares them
// with its own clock, so any other unit strands a claim whose uploader died.
TEST_F(ReportQueue, AClaimNamesItsProcessAndSecondAndNeedsADeviceIdentifier) {
    QueueFolder folder;
    const std::wstring name = QueueReport(folder, SampleBody("claimed"));
    const long long before = std::time(nullptr);
    const auto claimed = quorvel::ClaimReportFile(folder / name);
    const long long after = std::time(nullptr);
    ASSERT_TRUE(claimed.has_value());
    const std::wstring prefix =
        name.substr(0, name.size() - 5) + L".uploading." + std::to_wstring(GetCurrentProcessId()) + L".";
    ASSERT_EQ(std::vector<std::wstring>{claimed->substr(claimed->find_last_of(L'\\') + 1)}, folder.Names());
    const std::wstring claimName = folder.Names()[0];
    ASSERT_EQ(0u, claimName.rfind(prefix, 0)) << WideToUtf8Text(claimName);
    const long long claimTime = std::stoll(claimName.substr(prefix.size()));
    EXPECT_GE(claimTime, before);
    EXPECT_LE(claimTime, after);

    const std::wstring waiting = QueueReport(folder, SampleBody("no-aid", ""));
    EXPECT_TRUE(quorvel::ProcessReportFile(folder / waiting, CollectorUrl(), ""));
    const auto names = folder.Names();
    EXPECT_EQ(2u, names.size());
    EXPECT_NE(names.end(), std::find(names.begin(), names.end(), waiting)) << "left queued";

    HostLogCursor cursor(TestLogPath());
    EXPECT_FALSE(quorvel::ClaimReportFile(folder / L"gone.json").has_value());
    EXPECT_EQ(1u, Logged(cursor, "[Quorvel] claim skipped (normal): gone.json err=2"));
}
