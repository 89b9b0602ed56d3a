#include "ReportDrain.h"

#include "QuorvelReportUtils.h"

// Joins the report threads, then posts what is queued. A failed join is the one
// error that leaves the entry, so it is not caught here.
void DrainReports() {
    quorvel::JoinReportThreads();
    const std::wstring folder = quorvel::GetReportDirectory();
    if (folder.empty()) return;
    const std::string aid = quorvel::ReportDeviceId();
    if (aid.empty()) return;
    quorvel::UploadPendingReports(folder, quorvel::GetReportUrl(), aid);
}
