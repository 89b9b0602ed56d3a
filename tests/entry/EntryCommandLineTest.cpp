// The entry as a real host process runs it: switches read from the process
// command line, one job chosen, and the closing phase on every path.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostSandbox.h"

namespace {

// "<level> <message>" of every line the module wrote before its closing phase.
std::vector<std::string> JobLines(const std::vector<HostLogLine>& log) {
    return LevelsAndMessages(log, [](const HostLogLine& line) {
        return line.function != "InitLogModule" && line.function != "`anonymous-namespace'::FlushLogData";
    });
}

const std::string kNoSwitch =
    "3 [Orvale_LoadModule_WinMain]Orvale_LoadModule_WinMain: neither -action nor -type parameter found";
std::string TypeLine(int type) { return "1 [Orvale_LoadModule_WinMain]Orvale_LoadModule_WinMain: type=" + std::to_string(type); }
std::string UnsupportedLine(int type) {
    return "2 [Orvale_LoadModule_WinMain]Orvale_LoadModule_WinMain: unsupported type=" + std::to_string(type);
}
std::string ActionLine(const std::string& action, const std::string& guid) {
    return "1 [HandleActionEntry]HandleActionEntry: action=" + action + ", guid=" + guid;
}

TEST(EntryCommandLine, RunsExactlyTheJobItsSwitchesName) {
    struct Case {
        std::wstring arguments;
        std::vector<std::string> expected;
    };
    const std::vector<Case> cases = {
        {L"", {kNoSwitch}},
        {L"-type", {kNoSwitch}},                       // a switch without a value
        {L"-type=2", {kNoSwitch}},                     // values never share the switch's element
        {L"-action", {kNoSwitch}},                     // an empty action falls through to -type
        {L"-type abc", {TypeLine(0), UnsupportedLine(0)}},
        {L"-TYPE 7", {TypeLine(7), UnsupportedLine(7)}},  // switch names ignore case
        {L"-Type \" +4\"", {TypeLine(4), UnsupportedLine(4)}},
        {L"-type -5", {TypeLine(-5), UnsupportedLine(-5)}},  // a value may itself start with '-'
        {L"-type 0", {TypeLine(0), UnsupportedLine(0)}},
        {L"-type 99999999999", {TypeLine(2147483647), UnsupportedLine(2147483647)}},  // clamped, never wrapped
        {L"\"-type\" 6", {TypeLine(6), UnsupportedLine(6)}},  // quotes belong to the splitting, not to the switch
        {L"-type 1x",  // the install job, which this prefix's configuration leaves switched off
         {TypeLine(1), "1 [`anonymous-namespace'::KivAgentWrapper::KivAgentWrapper]Using cache.",
          "1 [Orvale_LoadModule_WinMain]not install."}},
        {L"-action raw-notification -type 1",
         {ActionLine("raw-notification", ""), "2 [HandleActionEntry]-action raw-notification: no guid provided"}},
        {L"-ACTION Raw-Notification -GUID g1",
         {ActionLine("Raw-Notification", "g1"), "2 [HandleActionEntry]HandleActionEntry: unknown action=Raw-Notification"}},
        {L"-action raw-notifications -guid g2",
         {ActionLine("raw-notifications", "g2"),
          "2 [HandleActionEntry]HandleActionEntry: unknown action=raw-notifications"}},
        {L"-action \"raw notification\" -guid \"a b\"",
         {ActionLine("raw notification", "a b"), "2 [HandleActionEntry]HandleActionEntry: unknown action=raw notification"}},
        {L"-guid -action -action ping",  // the first match decides
         {ActionLine("-action", "-action"), "2 [HandleActionEntry]HandleActionEntry: unknown action=-action"}},
    };
    HostSandbox sandbox;
    for (const Case& c : cases) {
        SCOPED_TRACE(WideToUtf8Text(c.arguments));
        HostRun run = sandbox.Run(c.arguments);
        ASSERT_TRUE(run.process.finished);
        EXPECT_EQ(run.process.exitCode, 0u);
        EXPECT_EQ(JobLines(run.log), c.expected);
        EXPECT_TRUE(EndsWithFlushLines(run.log));
    }
}

// The logger hears the loader's arguments before anything else is written.
TEST(EntryCommandLine, LogsTheLoaderArgumentsFirstAndEachLineWithItsSourceAndFunction) {
    HostSandbox sandbox;
    HostRun run = sandbox.Run(L"-type 5 -guid \"a b\"");
    ASSERT_FALSE(run.log.empty());
    EXPECT_EQ(run.log.front().function, "InitLogModule");
    EXPECT_NE(run.log.front().message.find("commandLine=-type 5 -guid \"a b\","), std::string::npos)
        << run.log.front().message;
    EXPECT_NE(run.log.front().message.find("previous=0,"), std::string::npos) << run.log.front().message;
    const HostLogLine* unsupported = FindMessage(run.log, UnsupportedLine(5).substr(2));
    ASSERT_NE(unsupported, nullptr);
    EXPECT_EQ(unsupported->level, 2);
    EXPECT_EQ(unsupported->function, "Orvale_LoadModule_WinMain");
    EXPECT_NE(unsupported->sourceFile.find("SparsePackageWrapperMgr"), std::string::npos);
    EXPECT_GT(unsupported->sourceLine, 0);
}

}  // namespace
