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

#include "HostLogFile.h"
#include "QuorvelReportCrypto.h"
#include "ReportTestSupport.h"
#include "TestProcess.h"
#include "UniqueHandle.h"

namespace {

using Clock = std::chrono::steady_clock;
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

// One worker process; its variables are those of the driver at the start.
class Worker {
public:
    Worker(const std::wstring& folder, const std::wstring& logs, int number, long long first, long long count,
           unsigned seed)
        : record_(logs + L"\\worker-" + std::to_wstring(number) + L".record"),
          log_(logs + L"\\worker-" + std::to_wstring(number) + L".log"),
          first_(first),
          count_(count) {
        // Without its trailing backslash, which would escape the closing quote.
        const std::wstring folderArgument = folder.substr(0, folder.find_last_not_of(L'\\') + 1);
        const std::wstring line = L"\"" + BinaryFolder() + L"\\ReportSoakWorker.exe\" \"" + folderArgument + L"\" \"" +
                                  record_ + L"\" " + std::to_wstring(first) + L" " + std::to_wstring(count) + L" " +
                                  std::to_wstring(seed);
        process_.reset(StartProcess(line, {{L"ORVALE_STANDALONE_LOG", log_}}));
        pid_ = process_.valid() ? GetProcessId(process_.get()) : 0;
    }

    bool started() const { return process_.valid(); }
    bool Running() const { return WaitForSingleObject(process_.get(), 0) == WAIT_TIMEOUT; }
    DWORD ExitCode() const {
        DWORD code = 0;
        GetExitCodeProcess(process_.get(), &code);
        return code;
    }
    void Kill() {
        TerminateProcess(process_.get(), 9);
        WaitForSingleObject(process_.get(), INFINITE);
        killed_ = true;
    }
    bool killed() const { return killed_; }
    DWORD pid() const { return pid_; }
    long long end() const { return first_ + count_; }
    const std::wstring& record() const { return record_; }
    const std::wstring& log() const { return log_; }

    // The first id this worker did not start saving.
    long long ResumeId() const {
        long long next = first_;
        std::istringstream lines(ReadFileBytes(record_));
        std::string word;
        long long id = 0;
        while (lines >> word >> id) {
            if (word == "saving") next = id + 1;
            if (word == "saved") lines >> word;  // the stem
        }
        return next;
    }

private:
    std::wstring record_;
    std::wstring log_;
    long long first_;
    long long count_;
    UniqueHandle process_;
    DWORD pid_ = 0;
    bool killed_ = false;
};

std::vector<std::wstring> Files(const QueueFolder& folder) { return folder.Names(); }

bool IsClaimed(const std::wstring& name) { return name.find(L".uploading.") != std::wstring::npos; }

// A claim left by a dead process is aged past the stale limit by renaming it
// with a claim time 1000 s in the past, as if the process had died long ago.
int AgeClaims(const QueueFolder& folder, const std::wstring& pidOrAny) {
    int aged = 0;
    const long long past = static_cast<long long>(std::time(nullptr)) - 1000;
    for (const auto& name : Files(folder)) {
        const size_t marker = name.find(L".uploading.");
        if (marker == std::wstring::npos) continue;
        const size_t pidStart = marker + 11;
        const size_t dot = name.find(L'.', pidStart);
        if (dot == std::wstring::npos) continue;
        if (!pidOrAny.empty() && name.substr(pidStart, dot - pidStart) != pidOrAny) continue;
        const std::wstring aged_name = name.substr(0, dot + 1) + std::to_wstring(past);
        if (MoveFileExW((folder / name).c_str(), (folder / aged_name).c_str(), 0)) ++aged;
    }
    return aged;
}

long long IdOf(const std::string& eventName) {
    return eventName.rfind("soak-", 0) == 0 ? std::stoll(eventName.substr(5)) : -1;
}

long long IdInBody(const std::string& plain) {
    const size_t at = plain.find("soak-");
    if (at == std::string::npos) return -1;
    return std::atoll(plain.c_str() + at + 5);
}

// What the records say: stem of every saved id, and ids whose save was begun.
struct Records {
    std::map<std::string, long long> idOfStem;
    std::set<long long> saved;
    std::set<long long> begun;
};

Records ReadRecords(const std::vector<std::unique_ptr<Worker>>& workers) {
    Records records;
    for (const auto& worker : workers) {
        std::istringstream lines(ReadFileBytes(worker->record()));
        std::string word, stem;
        long long id = 0;
        while (lines >> word >> id) {
            if (word == "saving") records.begun.insert(id);
            if (word == "saved" && lines >> stem) {
                records.saved.insert(id);
                records.idOfStem[stem] = id;
            }
        }
    }
    return records;
}

// The upload a killed worker had started and not finished: its last
// "POST start" without an "upload OK" for the same trace afterwards.
std::string UploadInFlight(const Worker& worker) {
    std::string trace;
    for (const auto& line : ReadHostLog(worker.log())) {
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

void WaitForLateAnswers(const LoopbackCollector& collector) {
    const auto until = Clock::now() + std::chrono::milliseconds(kLateAnswerMs + 3000);
    while (Clock::now() < until) {
        bool pending = false;
        for (const auto& report : collector.Received()) {
            pending = pending || (report.answer.kind == LoopbackCollector::Answer::Kind::Late && !report.answered);
        }
        if (!pending) return;
        Sleep(200);
    }
}

TEST(ReportSoak, EveryReportIsDeliveredAndEveryDuplicateExplained) {
    const SoakSettings settings;
    std::mt19937_64 random(settings.seed);
    QueueFolder folder;
    TempFolder logs;
    int workersStarted = 0;
    int kills = 0;

    auto chaos = std::make_unique<MappedCollector>();
    PlanChaos(*chaos, settings, random);
    std::vector<std::unique_ptr<Worker>> workers;
    auto start = [&](long long first, long long count) {
        workers.push_back(std::make_unique<Worker>(folder.path(), logs.path(), workersStarted++, first, count,
                                                   static_cast<unsigned>(random())));
        ASSERT_TRUE(workers.back()->started());
    };
    for (long long p = 0; p < settings.processes; ++p) start(p * settings.reports, settings.reports);

    // Kills come at random moments: after a random number of POSTs reached the
    // collector, plus a random pause. A killed worker's remaining reports go to
    // a replacement, and its claims are aged so that live workers recover them.
    std::vector<size_t> killAfterPosts;
    for (long long k = 0; k < settings.kills; ++k) {
        killAfterPosts.push_back(1 + random() % static_cast<unsigned long long>(settings.processes * settings.reports * 9 / 10));
    }
    std::sort(killAfterPosts.begin(), killAfterPosts.end());
    while (true) {
        std::vector<Worker*> running;
        for (const auto& worker : workers) {
            if (worker->Running()) running.push_back(worker.get());
        }
        if (running.empty()) break;
        if (kills < settings.kills && chaos->Received().size() >= killAfterPosts[kills]) {
            Sleep(static_cast<DWORD>(random() % 40));
            Worker& victim = *running[random() % running.size()];
            victim.Kill();
            ++kills;
            AgeClaims(folder, std::to_wstring(victim.pid()));
            const long long resume = victim.ResumeId();
            if (resume < victim.end()) start(resume, victim.end() - resume);
        }
        Sleep(20);
    }
    for (const auto& worker : workers) {
        if (!worker->killed()) {
            EXPECT_EQ(worker->ExitCode(), 0u) << WideToUtf8Text(worker->log());
        }
    }
    WaitForLateAnswers(*chaos);

    // The final drain: every process is gone, so every claim is abandoned.
    AgeClaims(folder, L"");
    {
        MappedCollector healthy;
        for (int round = 0; round < 3; ++round) {
            Worker drain(folder.path(), logs.path(), workersStarted++, 0, 0, 0);
            ASSERT_TRUE(drain.started());
            while (drain.Running()) Sleep(20);
            EXPECT_EQ(drain.ExitCode(), 0u);
        }
        std::vector<LoopbackCollector::ReceivedReport> accepted = chaos->Accepted();
        for (const auto& report : healthy.Accepted()) accepted.push_back(report);

        const Records records = ReadRecords(workers);
        std::map<long long, int> deliveries;
        std::map<long long, int> lateDeliveries;
        for (const auto& report : accepted) {
            const long long id = IdOf(report.message["event_name"].asString());
            ++deliveries[id];
            if (report.answer.kind == LoopbackCollector::Answer::Kind::Late) ++lateDeliveries[id];
        }
        std::map<long long, int> killedInFlight;
        for (const auto& worker : workers) {
            if (!worker->killed()) continue;
            const auto found = records.idOfStem.find(UploadInFlight(*worker));
            if (found != records.idOfStem.end()) ++killedInFlight[found->second];
        }

        // Every report delivered; a save cut short by a kill may never have
        // been renamed to ".json", and then it was never queued at all.
        for (long long id = 0; id < settings.processes * settings.reports; ++id) {
            EXPECT_TRUE(records.begun.count(id)) << "report " << id << " was never saved";
            const bool neverQueued = !records.saved.count(id) && records.begun.count(id);
            EXPECT_TRUE(deliveries[id] > 0 || neverQueued) << "report " << id << " was lost";
        }
        for (const auto& [id, count] : deliveries) {
            const int extra = count - 1;
            if (extra <= 0) continue;
            const int late = std::min(extra, lateDeliveries[id]);
            const int kill = std::min(extra - late, killedInFlight[id]);
            EXPECT_EQ(late + kill, extra) << "report " << id << " was delivered " << count << " times unexplained";
        }

        // Leftovers: no claim and no queued file; a ".tmp" only from a save
        // cut short whose report was never queued (or was delivered anyway).
        int tmpLeft = 0;
        for (const auto& name : Files(folder)) {
            if (name.size() > 4 && name.substr(name.size() - 4) == L".tmp") {
                const std::string bytes = ReadFileBytes(folder / name);
                const long long id = IdInBody(quorvel::DecryptReport({bytes.begin(), bytes.end()}));
                const bool cutShort = id < 0 || !records.saved.count(id);
                EXPECT_TRUE(cutShort || deliveries[id] > 0) << "temporary file of a finished save: " << WideToUtf8Text(name);
                ++tmpLeft;
                continue;
            }
            ADD_FAILURE() << (IsClaimed(name) ? "claim" : "file") << " left behind: " << WideToUtf8Text(name);
        }
        EXPECT_LE(tmpLeft, kills);

    }
}

}  // namespace
