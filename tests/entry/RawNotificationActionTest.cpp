// The raw-push road end to end: a writer in this process, the stand-alone
// host reading the segment, and the service stand-in started detached.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostSandbox.h"
#include "ImportPatch.h"
#include "PushSegmentWriter.h"
#include "SparsePackageWrapperMgr.h"

namespace {

// Runs the host on a segment holding `payload`, as the package's side starts it.
HostRun DeliverPush(HostSandbox& sandbox, const std::wstring& payload, EnvironmentOverrides environment = {}) {
    const std::wstring guid = FreshGuidText();
    PushSegmentWriter writer(guid, static_cast<uint32_t>((payload.size() + 1) * sizeof(wchar_t)));
    EXPECT_TRUE(writer.ok());
    writer.WriteText(payload, true);
    writer.ReleaseLock();
    HostRun run = sandbox.Run(L"-action raw-notification -guid " + guid, std::move(environment));
    EXPECT_TRUE(run.process.finished);
    EXPECT_TRUE(EndsWithFlushLines(run.log));
    return run;
}

std::vector<std::string> ActionLines(const std::vector<HostLogLine>& log) {
    return LevelsAndMessages(log, [](const HostLogLine& line) { return line.function == "HandleActionEntry"; });
}

std::string ExpectedCommand(const HostSandbox& sandbox, const std::string& message) {
    return "\"" + WideToUtf8Text(sandbox.servicePath()) + "\" orvale://NotifyPushTopic/fromchannel=wns&msgcontent=" +
           message;
}

// What the module, linked into this program, hands CreateProcessW; nothing is started.
struct ServiceStart {
    bool called = false;
    bool applicationName = true;
    bool securityAttributes = true;
    BOOL inherits = TRUE;
    DWORD flags = 0;
    bool environmentOrFolder = true;
    STARTUPINFOW startup = {};
};
ServiceStart g_start;

BOOL WINAPI WatchedCreateProcess(LPCWSTR application, LPWSTR, LPSECURITY_ATTRIBUTES process,
                                 LPSECURITY_ATTRIBUTES thread, BOOL inherits, DWORD flags, LPVOID environment,
                                 LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION) {
    g_start = {true, application != nullptr, process || thread, inherits, flags, environment || folder, *startup};
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST(RawNotificationAction, StartsTheServiceDetachedWithNothingInheritedAndZeroedStartUpInformation) {
    const std::wstring guid = FreshGuidText();
    PushSegmentWriter writer(guid, 64);
    ASSERT_TRUE(writer.ok());
    writer.WriteText(L"payload", true);
    writer.ReleaseLock();
    {
        const ImportPatch patch("kernel32.dll", "CreateProcessW", reinterpret_cast<const void*>(&WatchedCreateProcess));
        HandleActionEntry(L"raw-notification", guid);
    }
    ASSERT_TRUE(g_start.called);
    EXPECT_FALSE(g_start.applicationName || g_start.securityAttributes || g_start.environmentOrFolder);
    EXPECT_FALSE(g_start.inherits);
    EXPECT_EQ(g_start.flags, static_cast<DWORD>(DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP));
    const STARTUPINFOW& s = g_start.startup;
    EXPECT_EQ(s.cb, 104u);
    EXPECT_TRUE(!s.lpReserved && !s.lpDesktop && !s.lpTitle && !s.dwX && !s.dwY && !s.dwXSize && !s.dwYSize &&
                !s.dwXCountChars && !s.dwYCountChars && !s.dwFillAttribute && !s.dwFlags && !s.wShowWindow &&
                !s.cbReserved2 && !s.lpReserved2 && !s.hStdInput && !s.hStdOutput && !s.hStdError);
}

TEST(RawNotificationAction, StartsTheServiceWithTheDecodedMessage) {
    HostSandbox sandbox;
    HostRun run = DeliverPush(sandbox, L"hello push");
    const std::string command = ExpectedCommand(sandbox, "aGVsbG8gcHVzaA==");

    std::vector<std::string> lines = ActionLines(run.log);
    ASSERT_EQ(lines.size(), 4u) << ::testing::PrintToString(lines);
    EXPECT_EQ(lines[1], "1 [HandleActionEntry]-action raw-notification: received data, length=10");
    EXPECT_EQ(lines[2], "1 [HandleActionEntry]command = " + command);
    EXPECT_EQ(lines[3].rfind("1 [HandleActionEntry]OrvaleService.exe started successfully, pid=", 0), 0u) << lines[3];
    EXPECT_EQ(sandbox.ServiceCommandLines(), std::vector<std::string>{command});

    // The decoder's text goes on as it is, unescaped.
    HostSandbox unescaped;
    DeliverPush(unescaped, L"payload", {{L"ORVALE_STANDALONE_PUSH_RESULT", L"ab+/cd=="}});
    EXPECT_EQ(unescaped.ServiceCommandLines(), std::vector<std::string>{ExpectedCommand(unescaped, "ab+/cd==")});
}

TEST(RawNotificationAction, StartsNothingWhenThereIsNothingToStart) {
    {
        SCOPED_TRACE("the decoder has nothing to pass on");
        HostSandbox sandbox;
        HostRun run = DeliverPush(sandbox, L"payload", {{L"ORVALE_STANDALONE_PUSH_RESULT", L""}});
        EXPECT_EQ(ActionLines(run.log).back(),
                  "2 [HandleActionEntry]pbBase64 is empty, skip starting OrvaleService.exe");
        EXPECT_TRUE(sandbox.ServiceCommandLines(300).empty());
    }
    {
        SCOPED_TRACE("no service beside the host");
        HostSandbox sandbox(HostSandbox::Options{.withService = false});
        HostRun run = DeliverPush(sandbox, L"payload");
        EXPECT_EQ(ActionLines(run.log).back(),
                  "2 [HandleActionEntry]OrvaleService.exe not found at path=" + WideToUtf8Text(sandbox.servicePath()));
    }
    {
        SCOPED_TRACE("no segment for the guid");
        HostSandbox sandbox;
        HostRun run = sandbox.Run(L"-action raw-notification -guid " + FreshGuidText());
        EXPECT_EQ(ActionLines(run.log).back(), "2 [HandleActionEntry]-action raw-notification: ReadData returned empty");
        EXPECT_TRUE(EndsWithFlushLines(run.log));
        EXPECT_TRUE(sandbox.ServiceCommandLines(300).empty());
    }
}

TEST(RawNotificationAction, ReportsAServiceThatCannotStart) {
    HostSandbox sandbox(HostSandbox::Options{.withService = false});
    ASSERT_TRUE(WriteFileBytes(sandbox.servicePath(), "not a program"));
    HostRun run = DeliverPush(sandbox, L"payload");
    const HostLogLine& last = run.log[run.log.size() - HostSandbox::kFlushLineCount - 1];
    EXPECT_EQ(last.level, 3);
    EXPECT_EQ(last.message, "[HandleActionEntry]Failed to start OrvaleService.exe, error=193");
}

}  // namespace
