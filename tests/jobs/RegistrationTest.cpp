// Background-task registration in this process, where the simulated launcher
// can be steered directly, and the export as a client reaches it.
#include <windows.h>
#include <objbase.h>

#include <gtest/gtest.h>

#include <thread>

#include "BackgroundTaskRegistration.h"
#include "FailingAllocation.h"
#include "HostLogFile.h"
#include "JobsTestSupport.h"
#include "LauncherSimControl.h"
#include "SafeLaunchUri.h"
#include "TestMain.h"

namespace {

constexpr char kWakeUpUri[] = "orvale-notification:?action=register-wakeup-task";

std::vector<std::string> LaunchedUris() {
    std::vector<std::string> uris;
    for (const auto& uri : sim_control::launched_uris()) uris.push_back(WideToUtf8Text(uri));
    return uris;
}

class Registration : public ::testing::Test {
protected:
    Registration() { sim_control::reset(); }
    void RegisterPackage() { sim_control::register_package(NotificationPackageVersion(2)); }
    std::vector<HostLogLine> NewLines() const { return log_.NewLines(); }

    // The experiment service stands aside: its reader keeps the first
    // configuration it loads for the whole process.
    ScopedVariable noService_{L"ORVALE_STANDALONE_JX_SERVICE", L"null"};
    HostLogCursor log_{TestLogPath()};
};

TEST_F(Registration, ExperimentSwitchesChooseTheUri) {
    struct Case {
        std::optional<std::string> wakeUp, wns;
        std::vector<std::string> launched;
    };
    const Case cases[] = {
        {std::nullopt, std::nullopt, {}},
        {"0", "true", {}},
        {"1", "true", {kWakeUpUri}},
        {std::nullopt, "1", {"orvale-notification:?action=register-notification-tasks&run_wns_request=1"}},
        {"1", "1", {"orvale-notification:?action=register-background-task&run_wns_request=1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.wakeUp.value_or("(none)") + " / " + c.wns.value_or("(none)"));
        sim_control::reset();
        RegisterPackage();
        ExperimentConfig config({std::nullopt, c.wakeUp, c.wns});
        const HostLogCursor log(TestLogPath());
        EXPECT_TRUE(RegisterBackgroundTaskImpl(L""));
        EXPECT_EQ(c.launched, LaunchedUris());
        const auto lines = log.NewLines();
        const std::string decision = std::string("[RegisterBackgroundTaskImpl]RegisterBackgroundTask: wakeUpEnabled=") +
                                     (c.wakeUp == "1" ? "true" : "false") +
                                     ", wnsTaskRegEnabled=" + (c.wns == "1" ? "true" : "false");
        EXPECT_EQ(1u, CountLines(lines, 1, decision)) << ::testing::PrintToString(Messages(lines));
        if (const HostLogLine* line = FindMessage(lines, decision)) {
            EXPECT_EQ("RegisterBackgroundTaskImpl", line->function);
        }
        const size_t skipped =
            CountLines(lines, 1, "[RegisterBackgroundTaskImpl]RegisterBackgroundTask: both disabled, skip registration");
        EXPECT_EQ(c.launched.empty() ? 1u : 0u, skipped);
        if (!c.launched.empty()) {
            const auto* launched = FindMessage(lines, "[SafeLaunchUri] Launched successfully: " + c.launched[0]);
            ASSERT_NE(nullptr, launched);
            EXPECT_EQ(1, launched->level);
            EXPECT_EQ("SafeLaunchUriAsync", launched->function);
            EXPECT_NE(std::string::npos, launched->sourceFile.find("SafeLaunchUri"));
        }
    }
}

TEST_F(Registration, InstallDirectoryIsAppendedPercentEncoded) {
    RegisterPackage();
    ExperimentConfig config({std::nullopt, "1", std::nullopt});
    EXPECT_TRUE(RegisterBackgroundTaskImpl(L"C:\\Program Files\\Orvale Client"));
    EXPECT_EQ(std::vector<std::string>{std::string(kWakeUpUri) +
                                       "&install_dir=C%3A%5CProgram%20Files%5COrvale%20Client"},
              LaunchedUris());
}

TEST_F(Registration, WithoutAHandlerNothingIsLaunched) {
    ExperimentConfig config({std::nullopt, "1", std::nullopt});
    EXPECT_FALSE(RegisterBackgroundTaskImpl(L"D:\\Orvale"));
    EXPECT_TRUE(LaunchedUris().empty());
    EXPECT_EQ(0u, sim_control::call_count(L"Launcher.LaunchUriAsync"));
    const auto lines = NewLines();
    const auto warnings = LinesContaining(lines, "[SafeLaunchUri] URI handler not available (status=1), skipping launch: "
                                                 "orvale-notification:?action=register-wakeup-task&install_dir=D%3A%5COrvale");
    ASSERT_EQ(1u, warnings.size()) << ::testing::PrintToString(Messages(lines));
    EXPECT_EQ(2, warnings[0].level);
    EXPECT_EQ("SafeLaunchUriAsync", warnings[0].function);
    EXPECT_TRUE(LinesContaining(lines, "[SafeLaunchUri] Launch").empty());

    // Installed but not available (2) is not Available either.
    RegisterPackage();
    sim_control::set_launch_query_support(2);
    EXPECT_FALSE(RegisterBackgroundTaskImpl(L""));
    EXPECT_TRUE(LaunchedUris().empty());
}

// A refused launch and every failure of the launch or of waiting for it give
// false and one error line that names the URI.
TEST_F(Registration, EveryFailureOfTheLaunchIsCaughtAndGivesFalse) {
    const std::string uri = kWakeUpUri;
    struct Case {
        const char* name;
        void (*steer)();
        std::string message, end, function;
        bool launched;
    };
    const Case cases[] = {
        {"refused", [] { sim_control::set_launch_result(false); }, "[SafeLaunchUri] Launch returned false: " + uri, "",
         "SafeLaunchUriAsync", true},
        {"failed", [] { sim_control::set_launch_failure(E_ACCESSDENIED); }, "[SafeLaunchUri] Exception: 0x80070005 - ",
         ", URI: " + uri, "SafeLaunchUriAsync", true},
        {"building the Uri", [] { sim_control::throw_from_next_call(L"Uri.CreateUri"); },
         "[SafeLaunchUri] Unknown exception, URI: " + uri, "", "SafeLaunchUriAsync", false},
        {"the query", [] { sim_control::throw_from_next_call(L"Launcher.QueryUriSupportAsync"); },
         "[SafeLaunchUri] Unknown exception, URI: " + uri, "", "SafeLaunchUriAsync", false},
        {"starting the wait", FailNextAllocationOnThisThread, "[SafeLaunchUri] Sync wrapper exception, URI: " + uri, "",
         "SafeLaunchUri", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sim_control::reset();
        RegisterPackage();
        const HostLogCursor log(TestLogPath());
        c.steer();
        EXPECT_FALSE(SafeLaunchUri(Utf8ToWideText(uri)));
        const auto lines = log.NewLines();
        const auto caught = LinesContaining(lines, c.message);
        ASSERT_EQ(1u, caught.size()) << ::testing::PrintToString(Messages(lines));
        EXPECT_EQ(3, caught[0].level);
        EXPECT_EQ(c.function, caught[0].function);
        const std::string& message = caught[0].message;
        EXPECT_TRUE(c.end.empty() ? message == c.message : message.starts_with(c.message) && message.ends_with(c.end))
            << message;
        EXPECT_TRUE(c.launched || LaunchedUris().empty());
    }
}

TEST_F(Registration, AFailedEncodingIsCaughtAndGivesFalse) {
    RegisterPackage();
    ExperimentConfig config({std::nullopt, "1", std::nullopt});
    sim_control::fail_next_call(L"Uri.EscapeComponent", E_ACCESSDENIED);
    EXPECT_FALSE(RegisterBackgroundTaskImpl(L"C:\\Orvale"));
    EXPECT_TRUE(LaunchedUris().empty());
    const auto lines = LinesContaining(NewLines(), "[RegisterBackgroundTaskImpl]RegisterBackgroundTaskImpl exception, hr=0x80070005, msg=");
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(3, lines[0].level);
}

// A client built with the platform's compiler imports the export by the
// decorated name of `bool RegisterBackgroundTask()`, and may let the module go
// as soon as it returns: the launch's threads may still be leaving the
// module's code then, so the module keeps itself loaded.
TEST_F(Registration, ClientReachesTheExportByItsDecoratedNameAndMayUnloadTheModuleAfterIt) {
    RegisterPackage();
    ExperimentConfig config({std::nullopt, "1", "1"});
    sim_control::set_async_delay_ms(200);
    const HMODULE module = LoadLibraryW((BinaryFolder() + L"\\NotificationAPI.dll").c_str());
    ASSERT_NE(nullptr, module);
    const auto registerTasks = reinterpret_cast<RegisterBackgroundTaskFn>(
        reinterpret_cast<void*>(GetProcAddress(module, NOTIFICATIONAPI_REGISTER_BACKGROUND_TASK_EXPORT)));
    ASSERT_NE(nullptr, registerTasks);
    EXPECT_TRUE(registerTasks());
    FreeLibrary(module);
    EXPECT_EQ(module, GetModuleHandleW(L"NotificationAPI.dll"));
    EXPECT_EQ(std::vector<std::string>{"orvale-notification:?action=register-background-task&run_wns_request=1"},
              LaunchedUris());
}

}  // namespace

// A client's UI thread registers: the launch runs on the thread that completed
// the query, which may not call the launcher's statics of the UI thread.
TEST_F(Registration, AClientsSingleThreadedApartmentRegistersAsAnyOtherThread) {
    RegisterPackage();
    ExperimentConfig config({std::nullopt, "1", std::nullopt});
    bool registered = false;
    std::thread client([&] {
        EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
        registered = RegisterBackgroundTaskImpl(L"");
        CoUninitialize();
    });
    client.join();
    EXPECT_TRUE(registered);
    EXPECT_EQ(LaunchedUris(), std::vector<std::string>{kWakeUpUri});
}
