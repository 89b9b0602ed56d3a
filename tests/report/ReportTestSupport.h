#pragma once
// What the report tests share: a queue folder of their own, its listing,
// queued reports, and the simulated HTTP client pointed at a loopback collector.
#include <string>
#include <vector>

#include "LoopbackCollector.h"
#include "ScopedVariable.h"
#include "TempFolder.h"

// A fresh queue folder; its path ends with a backslash, like the module's.
class QueueFolder {
public:
    std::wstring path() const { return folder_.path() + L"\\"; }
    std::wstring operator/(const std::wstring& name) const { return path() + name; }
    // File names in the folder, sorted.
    std::vector<std::wstring> Names() const;

private:
    TempFolder folder_;
};

// A report body as the module builds it, with `eventName` as its event.
std::string SampleBody(const std::string& eventName, const std::string& aid = "dev-1");

// Queues `body` with the module's own save; the file's name.
std::wstring QueueReport(const QueueFolder& folder, const std::string& body);

// The collector's host name of this build, for SIMRUNTIME_HTTP_HOSTS.
std::wstring CollectorHost();
// The collector URL the module posts to.
std::wstring CollectorUrl();

// A collector that the simulated HTTP client of this process reaches under the module's URL.
class MappedCollector : public LoopbackCollector {
public:
    MappedCollector();

private:
    ScopedVariable mapping_;
};

// Empties the prefix's one report folder: reports left by other runs would
// reach a collector too. Tests that call it hold the report_folder lock.
void EmptyReportFolder();

// Event names of the reports a collector accepted, in arrival order, of the
// requests from the `firstReceived`-th on.
std::vector<std::string> AcceptedEventNames(const LoopbackCollector& collector, size_t firstReceived = 0);
