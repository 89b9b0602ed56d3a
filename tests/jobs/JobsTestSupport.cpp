#include "JobsTestSupport.h"

#include <json/reader.h>
#include <json/writer.h>

#include <filesystem>
#include <memory>

#include "QuorvelBuildSettings.h"
#include "QuorvelReportStorage.h"

namespace {

std::string CompactJson(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, value);
}

Json::Value ParseJson(const std::string& text) {
    Json::Value value;
    std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
    return value;
}

// An entry whose "value" is the text of an object holding the given fields.
void AddEntry(Json::Value& config, const char* key, std::initializer_list<std::pair<const char*, const std::optional<std::string>*>> fields) {
    Json::Value inner(Json::objectValue);
    for (const auto& [name, value] : fields) {
        if (*value) inner[name] = **value;
    }
    config[key]["value"] = CompactJson(inner);
}

std::optional<LoopbackCollector::ReceivedReport> FindReport(const LoopbackCollector& collector,
                                                            const std::string& eventName, const std::string& subEventName) {
    for (const auto& report : collector.Accepted()) {
        if (report.message["event_name"] == eventName && report.message["sub_event_name"] == subEventName) return report;
    }
    return std::nullopt;
}

}  // namespace

std::string ExperimentConfigText(const ExperimentSwitches& switches, size_t fillerEntries) {
    Json::Value config(Json::objectValue);
    AddEntry(config, "pc_bg_task_wakeup_config", {{kInstallKey, &switches.install}, {kWakeUpKey, &switches.wakeUp}});
    AddEntry(config, "pc_tips_json_for_experiment", {{kWnsKey, &switches.wns}});
    const std::optional<std::string> filler = "x";
    for (size_t i = 0; i < fillerEntries; ++i) {
        AddEntry(config, ("filler_" + std::to_string(i)).c_str(), {{"f", &filler}});
    }
    return CompactJson(config);
}

ExperimentConfig::ExperimentConfig(const ExperimentSwitches& switches, size_t fillerEntries)
    : file_(L"config2.json", ExperimentConfigText(switches, fillerEntries)) {}

sim_control::package_registration NotificationPackageVersion(std::uint16_t major) {
    return {L"4E7A21C9.store", L"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31",
            L"4E7A21C9.store_" + std::to_wstring(major) + L".0.0.0_x64__n", major};
}

JobHost::JobHost() : JobHost(Options()) {}

JobHost::JobHost(Options options)
    : sandbox_(HostSandbox::Options{false}),
      packageTable_(L"SIMRUNTIME_PACKAGE_TABLE_FILE", sandbox_.folder() + L"\\packages.txt") {
    sim_control::reset();
    sim_control::set_package_in_file(NotificationPackageVersion(2));
    if (options.packageFile) {
        CopyFileW((BinaryFolder() + L"\\Orvale.Notification.msix").c_str(),
                  (sandbox_.folder() + L"\\Orvale.Notification.msix").c_str(), FALSE);
    }
    if (options.experimentModule) {
        CopyFileW((BinaryFolder() + L"\\" + options.experimentModule).c_str(),
                  (sandbox_.folder() + L"\\JxDataPlugin.dll").c_str(), FALSE);
    }
}

HostRun JobHost::Run(const std::wstring& arguments, EnvironmentOverrides environment) {
    environment.emplace(L"ORVALE_STANDALONE_DEVICE_GUID", L"dev-jobs");
    environment.emplace(L"SIMRUNTIME_LAUNCHED_URIS_FILE", sandbox_.folder() + L"\\launched.txt");
    return sandbox_.Run(arguments, environment);
}

std::vector<std::string> JobHost::LaunchedUris() const { return TextLines(ReadFileBytes(sandbox_.folder() + L"\\launched.txt")); }

Json::Value ReportMessage(const LoopbackCollector& collector, const std::string& eventName,
                          const std::string& subEventName) {
    const auto report = FindReport(collector, eventName, subEventName);
    return report ? report->message : Json::Value();
}

std::string ReportLevel(const LoopbackCollector& collector, const std::string& eventName,
                        const std::string& subEventName) {
    const auto report = FindReport(collector, eventName, subEventName);
    return report ? ParseJson(ParseJson(report->body)["d2"][0]["fields"].asString())["level"].asString() : "";
}

size_t CountLines(const std::vector<HostLogLine>& log, int level, const std::string& message) {
    size_t count = 0;
    for (const auto& line : log) count += line.level == level && line.message == message;
    return count;
}
