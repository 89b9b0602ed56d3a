#pragma once
// What the job tests share: a host installation of its own whose package
// table lives in a file (so the host processes and this one see the same
// registrations), the launches those processes made, the client's experiment
// switches in the prefix's configuration file, and a collector for the reports.
#include <json/value.h>

#include <optional>
#include <string>
#include <vector>

#include "ConfigTestSupport.h"
#include "HostSandbox.h"
#include "PackageSimControl.h"
#include "LoopbackCollector.h"
#include "ReportTestSupport.h"

inline constexpr char kInstallKey[] = "pc_bg_enable_install_notification_package";
inline constexpr char kWakeUpKey[] = "pc_bg_task_register";
inline constexpr char kWnsKey[] = "pc_wns_enable_task_registration";

// The three switches the jobs read; nullopt leaves a field out.
struct ExperimentSwitches {
    std::optional<std::string> install;
    std::optional<std::string> wakeUp;
    std::optional<std::string> wns;
};

// A configuration file's text holding the switches, and that many entries of
// filler that make it slow to read.
std::string ExperimentConfigText(const ExperimentSwitches& switches, size_t fillerEntries = 0);

// config2.json holding the switches, for the life of the object.
class ExperimentConfig {
public:
    explicit ExperimentConfig(const ExperimentSwitches& switches, size_t fillerEntries = 0);

private:
    RoamingConfigFile file_;
};

sim_control::package_registration NotificationPackageVersion(std::uint16_t major);

class JobHost {
public:
    struct Options {
        bool packageFile = true;               // the package stand-in beside the module
        const wchar_t* experimentModule = nullptr;  // built file copied in as "JxDataPlugin.dll"
    };
    JobHost();
    explicit JobHost(Options options);

    // Runs the host with a device identifier, so its closing drain posts reports.
    HostRun Run(const std::wstring& arguments, EnvironmentOverrides environment = {});

    std::vector<std::string> LaunchedUris() const;
    const HostSandbox& sandbox() const { return sandbox_; }

private:
    HostSandbox sandbox_;
    ScopedVariable packageTable_;
};

// The report whose message has this event and sub-event; null message when none.
Json::Value ReportMessage(const LoopbackCollector& collector, const std::string& eventName,
                          const std::string& subEventName);
// "info" or "error", from the report's fields.
std::string ReportLevel(const LoopbackCollector& collector, const std::string& eventName,
                        const std::string& subEventName);

// Lines of the log at `level` whose message is exactly `message`.
size_t CountLines(const std::vector<HostLogLine>& log, int level, const std::string& message);
