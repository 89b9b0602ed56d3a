#include "ReportTestSupport.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "QuorvelBuildSettings.h"
#include "QuorvelReportBody.h"
#include "QuorvelReportStorage.h"

std::vector<std::wstring> QueueFolder::Names() const {
    std::vector<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
        names.push_back(entry.path().filename().wstring());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string SampleBody(const std::string& eventName, const std::string& aid) {
    quorvel::ErrorEventInfo record;
    record.event_name = eventName;
    return quorvel::BuildReportBody(0, quorvel::ToEventObject(record), aid, quorvel::kReporterVersion,
                                    quorvel::kSdkIdentifier);
}

std::wstring QueueReport(const QueueFolder& folder, const std::string& body) {
    const std::wstring path = quorvel::SaveEncryptedReport(folder.path(), body);
    EXPECT_FALSE(path.empty()) << "the report was not queued";
    return path.substr(path.find_last_of(L'\\') + 1);
}

std::wstring CollectorHost() { return quorvel::build_settings::kCollectorHost; }
std::wstring CollectorUrl() { return quorvel::build_settings::kCollectorUrl; }

MappedCollector::MappedCollector() : mapping_(L"SIMRUNTIME_HTTP_HOSTS", HostMapping(CollectorHost())) {}

void EmptyReportFolder() {
    const std::wstring folder = quorvel::GetReportDirectory();
    ASSERT_FALSE(folder.empty());
    for (const auto& entry : std::filesystem::directory_iterator(folder)) std::filesystem::remove(entry.path());
}

std::vector<std::string> AcceptedEventNames(const LoopbackCollector& collector, size_t firstReceived) {
    std::vector<std::string> names;
    for (const auto& report : collector.Accepted(firstReceived)) names.push_back(report.message["event_name"].asString());
    return names;
}
