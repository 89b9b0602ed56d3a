// The report queue shared by several processes for a long while: worker
// processes save and drain reports in one folder against a collector that
// answers 200, 500, late (past the module's time-out) or drops the
// connection, while workers are terminated at random moments and their claims
// aged past the stale limit. A final drain against a healthy collector must
// then have delivered every report, each duplicate must be explained, and no
// claimed or temporary file may be left.
//
// Sizes come from ORVALE_SOAK_PROCESSES, ORVALE_SOAK_REPORTS (per process),
// ORVALE_SOAK_LATE (late answers), ORVALE_SOAK_KILLS and ORVALE_SOAK_SEED;
// the defaults are the small run of the normal test suite.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Eventually.h"
#include "HostLogFile.h"
#include "QuorvelReportCrypto.h"
#include "ReportTestSupport.h"
#include "TestProcess.h"
#include "UniqueHandle.h"

namespace {

constexpr unsigned kLateAnswerMs = 11000;  // past the module's 10-second POST time-out

long long Setting(const wchar_t* name, long long fallback) {
    wchar_t value[32] = {};
    const DWORD length = GetEnvironmentVariableW(name, value, 32);
    return length > 0 && length < 32 ? std::wcstoll(value, nullptr, 10) : fallback;
}

struct SoakSettings {
    long long processes = Setting(L"ORVALE_SOAK_PROCESSES", 2);
    long long reports = Setting(L"ORVALE_SOAK_REPORTS", 20);
    long long late = Setting(L"ORVALE_SOAK_LATE", 0);
    long long kills = Setting(L"ORVALE_SOAK_KILLS", 1);
    unsigned long long seed = static_cast<unsigned long long>(Setting(L"ORVALE_SOAK_SEED", 1));
};

// What a worker's record says: the ids whose save it began, and the stem of
// each it finished.
struct Record {
    std::set<long long> begun;
    std::map<std::string, long long> idOfStem;
};

Record ReadRecord(const std::wstring& path) {
    Record record;
    std::istringstream lines(ReadFileBytes(path));
    std::string word, stem;
    long long id = 0;
    while (lines >> word >> id) {
        if (word == "saving") record.begun.insert(id);
        if (word == "saved" && lines >> stem) record.idOfStem[stem] = id;
    }
    return record;
}

// One worker process; its variables are those of the driver at the start.
struct Worker {
    Worker(const std::wstring& folder, const std::wstring& logs, int number, long long first, long long count,
           unsigned seed)
        : record(logs + L"\\worker-" + std::to_wstring(number) + L".record"),
          log(logs + L"\\worker-" + std::to_wstring(number) + L".log"),
          first(first),
          count(count) {
        // Without its trailing backslash, which would escape the closing quote.
        const std::wstring folderArgument = folder.substr(0, folder.find_last_not_of(L'\\') + 1);
        process.reset(StartProcess(L"\"" + BinaryFolder() + L"\\ReportSoakWorker.exe\" \"" + folderArgument + L"\" \"" +
                                       record + L"\" " + std::to_wstring(first) + L" " + std::to_wstring(count) + L" " +
                                       std::to_wstring(seed),
                                   {{L"ORVALE_STANDALONE_LOG", log}}));
    }
    bool Running() const { return WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT; }
    DWORD ExitCode() const {
        DWORD code = 0;
        GetExitCodeProcess(process.get(), &code);
        return code;
    }

    std::wstring record;
    std::wstring log;
    long long first;
    long long count;
    UniqueHandle process;
    bool killed = false;
};

// A claim left by a dead process is aged past the stale limit by renaming it
// with a claim time 1000 s in the past, as if the process had died long ago.
void AgeClaims(const QueueFolder& folder, const std::wstring& pidOrAny) {
    const long long past = static_cast<long long>(std::time(nullptr)) - 1000;
    for (const auto& name : folder.Names()) {
        const size_t marker = name.find(L".uploading.");
        if (marker == std::wstring::npos) continue;
        const size_t pidStart = marker + 11;
        const size_t dot = name.find(L'.', pidStart);
        if (dot == std::wstring::npos) continue;
        if (!pidOrAny.empty() && name.substr(pidStart, dot - pidStart) != pidOrAny) continue;
        const std::wstring aged_name = name.substr(0, dot + 1) + std::to_wstring(past);
        MoveFileExW((folder / name).c_str(), (folder / aged_name).c_str(), 0);
    }
}

// The id of report "soak-<id>" in an event name or a report's text; -1 without one.
long long IdIn(const std::string& plain) {
    const size_t at = plain.find("soak-");
    if (at == std::string::npos) return -1;
    return std::atoll(plain.c_str() + at + 5);
}

// The upload a killed worker had started and not finished: its last
// "POST start" without an "upload OK" for the same trace afterwards.
std::string UploadInFlight(const Worker& worker) {
    std::string trace;
    for (const auto& line : ReadHostLog(worker.log)) {
        if (line.message.rfind("[Quorvel] POST start: ", 0) == 0) trace = line.message.substr(22);
        if (!trace.empty() && line.message.rfind("[Quorvel] upload OK, deleted: ", 0) == 0 &&
            line.message.find("trace=" + trace) != std::string::npos) {
            trace.clear();
        }
        if (!trace.empty() && line.message.rfind("[Quorvel] POST failed", 0) == 0) trace.clear();
    }
    return trace;
}

// Answers for the soak phase: mostly 200, some 500, some dropped
// connections, and `late` answers given after the client's time-out.
void PlanChaos(LoopbackCollector& collector, const SoakSettings& settings, std::mt19937_64& random) {
    const long long answers = settings.processes * settings.reports * 2;
    std::set<long long> latePositions;
    while (static_cast<long long>(latePositions.size()) < settings.late) {
        latePositions.insert(static_cast<long long>(random() % static_cast<unsigned long long>(answers / 2 + 1)));
    }
    for (long long i = 0; i < answers; ++i) {
        const unsigned roll = static_cast<unsigned>(random() % 100);
        if (latePositions.count(i)) {
            collector.QueueAnswer(LoopbackCollector::Answer::After(kLateAnswerMs, 200));
        } else if (roll < 12) {
            collector.QueueAnswer(LoopbackCollector::Answer::Now(500));
        } else if (roll < 20) {
            collector.QueueAnswer(LoopbackCollector::Answer::Dropped());
        } else {
            collector.QueueAnswer(LoopbackCollector::Answer::Now(200));
        }
    }
}

TEST(ReportSoak, EveryReportIsDeliveredAndEveryDuplicateExplained) {
    const SoakSettings settings;
    const long long reports = settings.processes * settings.reports;
    std::mt19937_64 random(settings.seed);
    QueueFolder folder;
    TempFolder logs;
    int kills = 0;

    auto chaos = std::make_unique<MappedCollector>();
    PlanChaos(*chaos, settings, random);
    std::vector<std::unique_ptr<Worker>> workers;
    auto start = [&](long long first, long long count) {
        workers.push_back(std::make_unique<Worker>(folder.path(), logs.path(), static_cast<int>(workers.size()), first,
                                                   count, static_cast<unsigned>(random())));
        return workers.back()->process.valid();
    };
    for (long long p = 0; p < settings.processes; ++p) ASSERT_TRUE(start(p * settings.reports, settings.reports));

    // Kills come at random moments: after a random number of POSTs reached the
    // collector, plus a random pause. A killed worker's remaining reports go to
    // a replacement, and its claims are aged so that live workers recover them.
    std::vector<size_t> killAfterPosts;
    for (long long k = 0; k < settings.kills; ++k)
        killAfterPosts.push_back(1 + random() % static_cast<unsigned long long>(reports * 9 / 10));
    std::sort(killAfterPosts.begin(), killAfterPosts.end());
    for (std::vector<Worker*> running;; Sleep(20)) {
        running.clear();
        for (const auto& worker : workers) {
            if (worker->Running()) running.push_back(worker.get());
        }
        if (running.empty()) break;
        if (kills == settings.kills || chaos->Received().size() < killAfterPosts[kills]) continue;
        Sleep(static_cast<DWORD>(random() % 40));
        Worker& victim = *running[random() % running.size()];
        TerminateProcess(victim.process.get(), 9);
        WaitForSingleObject(victim.process.get(), INFINITE);
        victim.killed = true;
        ++kills;
        AgeClaims(folder, std::to_wstring(GetProcessId(victim.process.get())));
        const std::set<long long> begun = ReadRecord(victim.record).begun;
        const long long resume = begun.empty() ? victim.first : *begun.rbegin() + 1;
        if (resume < victim.first + victim.count) {
            ASSERT_TRUE(start(resume, victim.first + victim.count - resume));
        }
    }
    for (const auto& worker : workers) {
        EXPECT_TRUE(worker->killed || worker->ExitCode() == 0) << WideToUtf8Text(worker->log);
    }
    // A late answer still counts as delivered once it comes.
    Eventually(
        [&] {
            for (const auto& report : chaos->Received()) {
                if (report.answer.kind == LoopbackCollector::Answer::Kind::Late && !report.answered) return false;
            }
            return true;
        },
        std::chrono::milliseconds(kLateAnswerMs + 3000));

    // The final drain: every process is gone, so every claim is abandoned.
    AgeClaims(folder, L"");
    MappedCollector healthy;
    for (int round = 0; round < 3; ++round) {
        Worker drain(folder.path(), logs.path(), 1000 + round, 0, 0, 0);
        ASSERT_TRUE(drain.process.valid());
        WaitForSingleObject(drain.process.get(), INFINITE);
        EXPECT_EQ(drain.ExitCode(), 0u);
    }
    std::vector<LoopbackCollector::ReceivedReport> accepted = chaos->Accepted();
    for (const auto& report : healthy.Accepted()) accepted.push_back(report);

    Record all;
    std::set<long long> saved;
    for (const auto& worker : workers) {
        Record record = ReadRecord(worker->record);
        all.begun.merge(record.begun);
        all.idOfStem.merge(record.idOfStem);
    }
    for (const auto& [stem, id] : all.idOfStem) saved.insert(id);
    std::map<long long, int> deliveries, lateDeliveries, killedInFlight;
    // A killed worker's upload may have been of any worker's report.
    for (const auto& worker : workers) {
        const auto inFlight = all.idOfStem.find(worker->killed ? UploadInFlight(*worker) : "");
        if (inFlight != all.idOfStem.end()) ++killedInFlight[inFlight->second];
    }
    for (const auto& report : accepted) {
        const long long id = IdIn(report.message["event_name"].asString());
        ++deliveries[id];
        if (report.answer.kind == LoopbackCollector::Answer::Kind::Late) ++lateDeliveries[id];
    }

    // Every report delivered; a save cut short by a kill may never have
    // been renamed to ".json", and then it was never queued at all.
    for (long long id = 0; id < reports; ++id) {
        EXPECT_TRUE(all.begun.count(id)) << "report " << id << " was never saved";
        EXPECT_TRUE(deliveries[id] > 0 || (!saved.count(id) && all.begun.count(id))) << "report " << id << " was lost";
    }
    for (const auto& [id, count] : deliveries) {
        const int extra = count - 1;
        const int late = std::min(extra, lateDeliveries[id]);
        const int kill = std::min(extra - late, killedInFlight[id]);
        EXPECT_TRUE(extra <= 0 || late + kill == extra)
            << "report " << id << " was delivered " << count << " times unexplained";
    }

    // Leftovers: no claim and no queued file; a ".tmp" only from a save
    // cut short whose report was never queued (or was delivered anyway).
    int tmpLeft = 0;
    for (const auto& name : folder.Names()) {
        if (name.size() <= 4 || name.substr(name.size() - 4) != L".tmp") {
            ADD_FAILURE() << (name.find(L".uploading.") != std::wstring::npos ? "claim" : "file") << " left behind: " << WideToUtf8Text(name);
            continue;
        }
        const std::string bytes = ReadFileBytes(folder / name);
        const long long id = IdIn(quorvel::DecryptReport({bytes.begin(), bytes.end()}));
        EXPECT_TRUE(id < 0 || !saved.count(id) || deliveries[id] > 0)
            << "temporary file of a finished save: " << WideToUtf8Text(name);
        ++tmpLeft;
    }
    EXPECT_LE(tmpLeft, kills);
}

}  // namespace
