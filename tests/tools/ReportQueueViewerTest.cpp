// The report-queue viewer run as support staff run it: a child process
// over a real queue folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "LoopbackCollector.h"
#include "QuorvelBuildSettings.h"
#include "QuorvelClock.h"
#include "QuorvelReportBody.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelReportStorage.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

ProcessResult RunViewer(const std::wstring& arguments, const EnvironmentOverrides& environment = {}) {
    return RunProcess(L"\"" + BinaryFolder() + L"\\ReportQueueViewer.exe\" " + arguments, environment);
}

std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }

// The output line that names `name`; empty when none does.
std::string LineWith(const std::string& output, const std::wstring& name) {
    const std::string wanted = WideToUtf8Text(name);
    const std::size_t at = output.find(wanted);
    if (at == std::string::npos) return {};
    const std::size_t start = output.rfind('\n', at) + 1;  // npos + 1 == 0 for the first line
    return output.substr(start, output.find('\n', at) - start);
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

void ExpectParts(const std::string& output, std::initializer_list<std::string> parts) {
    for (const std::string& part : parts) EXPECT_TRUE(Contains(output, part)) << part << " not in:\n" << output;
}

// A stem `secondsAgo` old, made unique by `tick`.
std::wstring StemAged(long long secondsAgo, int tick = 0) {
    return std::to_wstring(quorvel::UnixNanosecondsNow() - secondsAgo * 1000000000ULL + tick * 100ULL);
}

std::string SampleBody(std::int32_t errorCode) {
    quorvel::ErrorEventInfo record;
    record.event_name = "install";
    record.error_code = errorCode;
    record.function_name = "RunInstallJob";
    return quorvel::BuildReportBody(quorvel::kLevelError, quorvel::ToEventObject(record), "", quorvel::kReporterVersion,
                                    quorvel::kSdkIdentifier);
}

void WriteReport(const std::wstring& path, const std::string& body) {
    const auto cipher = quorvel::EncryptReport(body);
    ASSERT_TRUE(WriteFileBytes(path, std::string(cipher.begin(), cipher.end())));
}

std::set<std::wstring> NamesIn(const TempFolder& folder) {
    std::set<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        names.insert(entry.path().filename().wstring());
    }
    return names;
}

// The viewer's age text: "45s", "2m05s".
std::string AgeText(long long seconds) {
    if (seconds < 60) return std::to_string(seconds) + "s";
    const long long rest = seconds % 60;
    return std::to_string(seconds / 60) + "m" + (rest < 10 ? "0" : "") + std::to_string(rest) + "s";
}

// Ages are whole seconds read by the viewer after ours; on a loaded machine
// they may be up to `lag` seconds older than the names were made for.
bool ContainsAge(const std::string& line, const std::string& before, long long age, long long lag,
                 const std::string& after) {
    for (long long extra = 0; extra <= lag; ++extra) {
        if (Contains(line, before + AgeText(age + extra) + after)) return true;
    }
    return false;
}

TEST(ReportQueueViewer, ListTellsEveryKindOfFileAndChangesNothing) {
    TempFolder queue;
    const long long now = quorvel::UnixSecondsNow();
    const std::wstring queued = StemAged(125) + L".json";
    const std::wstring temporary = StemAged(3) + L".tmp";
    // Age alone makes a claim stale, whether its owner runs or not.
    const std::wstring staleOfLiveOwner =
        StemAged(2000) + L".uploading." + std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(now - 1000);
    const std::wstring freshOfDeadOwner = StemAged(60) + L".uploading.4294967292." + std::to_wstring(now - 30);
    WriteReport(queue / queued, SampleBody(1));
    WriteFileBytes(queue / temporary, "");
    WriteFileBytes(queue / staleOfLiveOwner, std::string(32, 'x'));
    WriteFileBytes(queue / freshOfDeadOwner, std::string(16, 'x'));
    WriteFileBytes(queue / L"notes.txt", "hello");
    const auto namesBefore = NamesIn(queue);

    const ProcessResult result = RunViewer(L"list " + Quoted(queue.path()));
    const long long lag = quorvel::UnixSecondsNow() - now;

    EXPECT_TRUE(result.finished);
    EXPECT_EQ(result.exitCode, 0u) << result.output;
    const std::pair<std::wstring, const char*> kinds[] = {
        {queued, "queued"}, {temporary, "temporary"}, {L"notes.txt", "unknown"}, {L"notes.txt", "s~"}};
    for (const auto& [name, kind] : kinds) EXPECT_TRUE(Contains(LineWith(result.output, name), kind)) << result.output;
    EXPECT_TRUE(ContainsAge(LineWith(result.output, queued), " ", 125, lag, " ")) << result.output;
    const std::string stale = LineWith(result.output, staleOfLiveOwner);
    EXPECT_TRUE(ContainsAge(stale, " ", 2000, lag, " ")) << stale;
    EXPECT_TRUE(ContainsAge(stale, "running, claimed ", 1000, lag, " ago, stale")) << stale;
    const std::string fresh = LineWith(result.output, freshOfDeadOwner);
    EXPECT_TRUE(ContainsAge(fresh, "pid 4294967292 ended, claimed ", 30, lag, " ago]")) << fresh;
    EXPECT_TRUE(Contains(result.output, "1 queued, 1 temporary, 2 claimed (1 stale), 1 unknown")) << result.output;
    EXPECT_EQ(NamesIn(queue), namesBefore);
}

// 1: the command line is wrong; 2: what it names cannot be read.
TEST(ReportQueueViewer, ExitCodesAndTheDefaultFolder) {
    TempFolder queue;
    WriteFileBytes(queue / L"1.json", std::string(48, '\x5a'));
    WriteFileBytes(queue / L"2.json", "");
    const struct {
        std::wstring arguments;
        EnvironmentOverrides environment;
        DWORD exitCode;
        std::string output;
    } rows[] = {
        {L"", {}, 1, ""},
        {L"show", {}, 1, ""},
        {L"drain", {}, 1, ""},
        {L"drain http://x/ --aid", {}, 1, ""},
        {L"drain http://x/", {{L"ORVALE_STANDALONE_DEVICE_GUID", L""}}, 1, ""},
        {L"list " + Quoted(queue / L"missing"), {}, 2, ""},
        {L"drain http://x/ " + Quoted(queue / L"missing") + L" --aid a", {}, 2, ""},
        {L"show " + Quoted(queue / L"1.json"), {}, 2, "does not decrypt"},
        {L"show " + Quoted(queue / L"2.json"), {}, 2, ""},
        {L"show " + Quoted(queue / L"3.json"), {}, 2, ""},
        {L"list", {}, 0, "report queue " + WideToUtf8Text(quorvel::GetReportDirectory()) + "\r\n"},
    };
    for (const auto& row : rows) {
        const ProcessResult result = RunViewer(row.arguments, row.environment);
        EXPECT_EQ(result.exitCode, row.exitCode) << WideToUtf8Text(row.arguments);
        EXPECT_TRUE(Contains(result.output, row.output)) << result.output;
    }
}

TEST(ReportQueueViewer, ShowDecodesTheNestedTextsOfARealReport) {
    TempFolder queue;
    const std::wstring claimed = StemAged(1) + L".uploading.77.1700000000";
    WriteReport(queue / claimed, SampleBody(-2147024891));

    const ProcessResult result = RunViewer(L"show " + Quoted(queue / claimed));

    EXPECT_EQ(result.exitCode, 0u) << result.output;
    ExpectParts(result.output, {"\"level\" : \"error\"", "\"error_code\" : -2147024891",
                                "\"function_name\" : \"RunInstallJob\"", "\"topic\" : \"SDK-7d2e81f0a93b5c46e128\""});
}

class ReportQueueDrain : public testing::Test {
protected:
    ProcessResult Drain() {
        return RunViewer(L"drain " + std::wstring(quorvel::build_settings::kCollectorUrl) + L" " +
                                Quoted(queue.path()) + L" --aid device-7",
                            {{L"SIMRUNTIME_HTTP_HOSTS", collector.HostMapping(quorvel::build_settings::kCollectorHost)}});
    }

    TempFolder queue;
    LoopbackCollector collector;
};

TEST_F(ReportQueueDrain, SendsTheQueueAndDiscardsWhatDoesNotDecrypt) {
    const std::wstring first = StemAged(30, 0), second = StemAged(30, 1), garbage = StemAged(30, 2);
    WriteReport(queue / (first + L".json"), SampleBody(1));
    WriteReport(queue / (second + L".json"), SampleBody(2));
    WriteFileBytes(queue / (garbage + L".json"), std::string(32, 'g'));
    WriteFileBytes(queue / L"9.tmp", "");

    const ProcessResult result = Drain();

    EXPECT_EQ(result.exitCode, 0u) << result.output;
    EXPECT_EQ(collector.Accepted().size(), 2u);
    ASSERT_FALSE(collector.Accepted().empty());
    EXPECT_TRUE(Contains(collector.Accepted()[0].body, "\"aid\":\"device-7\""));
    EXPECT_TRUE(Contains(LineWith(result.output, first), "sent")) << result.output;
    EXPECT_TRUE(Contains(LineWith(result.output, garbage), "discarded")) << result.output;
    ExpectParts(result.output, {"sent 2, discarded as empty or undecryptable 1", "left: 0 queued, 1 temporary"});
    EXPECT_EQ(NamesIn(queue), std::set<std::wstring>{L"9.tmp"});
}

TEST_F(ReportQueueDrain, TellsWhereARefusedDrainStopped) {
    collector.AnswerWith(503);
    const std::wstring first = StemAged(30, 0), second = StemAged(30, 1);
    WriteReport(queue / (first + L".json"), SampleBody(1));
    WriteReport(queue / (second + L".json"), SampleBody(2));

    const ProcessResult result = Drain();

    EXPECT_EQ(result.exitCode, 0u) << result.output;
    EXPECT_EQ(collector.Received().size(), 1u);
    ExpectParts(result.output, {"sent 0,", "left: 2 queued"});
    EXPECT_TRUE(Contains(LineWith(result.output, first), "stopped at")) << result.output;
}

}  // namespace
