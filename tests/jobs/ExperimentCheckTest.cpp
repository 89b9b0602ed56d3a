// The install job's experiment check, through the host: which reader the
// experiment wrapper chose and the tri-state it read, as the reports tell.
#include <gtest/gtest.h>

#include "JobsTestSupport.h"

namespace {

constexpr char kCheckEvent[] = "msix_install_kiv_check";
constexpr char kUsingCache[] = "[`anonymous-namespace'::KivAgentWrapper::KivAgentWrapper]Using cache.";

struct CheckRun {
    Json::Value start, result;
    std::string startLevel, resultLevel;
    HostRun host;
};

CheckRun RunInstallJob(JobHost& host, EnvironmentOverrides environment = {}) {
    EmptyReportFolder();
    MappedCollector collector;
    CheckRun run;
    run.host = host.Run(L"-type 1", environment);
    run.start = ReportMessage(collector, kCheckEvent, "start");
    run.result = ReportMessage(collector, kCheckEvent, "result");
    run.startLevel = ReportLevel(collector, kCheckEvent, "start");
    run.resultLevel = ReportLevel(collector, kCheckEvent, "result");
    return run;
}

// The service is read through the host's business library, whose own configuration says "1" here.
TEST(ExperimentCheck, SourceIsTheServiceOnlyWhenTheExperimentModuleHandsOneOut) {
    ExperimentConfig config({"0", std::nullopt, std::nullopt});
    const TempFolder business;
    ASSERT_TRUE(WriteFileBytes(business / L"business.json", ExperimentConfigText({"1", std::nullopt, std::nullopt})));
    struct Case {
        const char* name;
        const wchar_t* module;
        EnvironmentOverrides environment;
        const char* source;
    };
    const Case cases[] = {
        {"no module", nullptr, {}, "cache"},
        {"no getter", L"JxDataPluginNoGetter.dll", {}, "cache"},
        {"null service", L"JxDataPlugin.dll", {{L"ORVALE_STANDALONE_JX_SERVICE", L"null"}}, "cache"},
        {"service", L"JxDataPlugin.dll", {}, "jx"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        // Without the package file an attempted install fails at once.
        JobHost host({false, c.module});
        EnvironmentOverrides environment = c.environment;
        environment.emplace(L"ORVALE_STANDALONE_BUSINESS_CONFIG", business / L"business.json");
        const CheckRun run = RunInstallJob(host, environment);
        EXPECT_EQ("", run.start["source"].asString());
        EXPECT_EQ(0, run.start["install_toggle"].asInt());
        EXPECT_EQ(c.source, run.result["source"].asString());
        EXPECT_EQ(std::string(c.source) == "jx" ? 1 : 0, run.result["install_toggle"].asInt());
        const HostLogLine* usingCache = FindMessage(run.host.log, kUsingCache);
        EXPECT_EQ(std::string(c.source) == "cache", usingCache != nullptr);
        if (usingCache) {
            EXPECT_EQ(1, usingCache->level);
            EXPECT_NE(std::string::npos, usingCache->sourceFile.find("SparsePackageWrapperMgr"));
        }
    }
}

TEST(ExperimentCheck, OnlyTheExactValueOneSwitchesTheInstallOn) {
    struct Case {
        std::optional<std::string> value;
        int toggle;
    };
    const Case cases[] = {{"1", 1}, {"true", 0}, {"01", 0}, {" 1", 0}, {"10", 0},
                          {"1 ", 0}, {"0", 0}, {std::nullopt, -1}, {"", -1}};
    for (const Case& c : cases) {
        SCOPED_TRACE("value '" + c.value.value_or("(none)") + "'");
        ExperimentConfig config({c.value, std::nullopt, std::nullopt});
        // Without the package file an attempted install fails at once.
        JobHost host({false, nullptr});
        const CheckRun run = RunInstallJob(host);
        EXPECT_EQ(c.toggle, run.result["install_toggle"].asInt());
        const bool notInstalled = FindMessage(run.host.log, "[Orvale_LoadModule_WinMain]not install.") != nullptr;
        const bool attempted = !LinesContaining(run.host.log, "InstallNotificationPackage failed").empty();
        EXPECT_EQ(c.toggle != 1, notInstalled);
        EXPECT_EQ(c.toggle == 1, attempted);
    }
}

// "start" is handed over before the experiment is read, "result" after; a
// configuration that takes a while to read puts time between them.
TEST(ExperimentCheck, StartIsReportedBeforeTheResultBothAsInformation) {
    ExperimentConfig config({"0", std::nullopt, std::nullopt}, 20000);
    JobHost host({false, nullptr});
    const CheckRun run = RunInstallJob(host);
    ASSERT_TRUE(run.start.isObject() && run.result.isObject());
    EXPECT_LT(run.start["timestamp"].asInt64(), run.result["timestamp"].asInt64());
    EXPECT_EQ("info", run.startLevel);
    EXPECT_EQ("info", run.resultLevel);
}

}  // namespace
