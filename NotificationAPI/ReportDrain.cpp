#include "ReportDrain.h"

#include "HostLog.h"
#include "QuorvelReportUtils.h"

// Joins the report threads, then posts what is queued. A failed join is the one
// error that leaves the entry, so it is not caught here; anything else is.
void DrainReports() {
    quorvel::JoinReportThreads();
    static constexpr wchar_t kFunction[] = L"DrainReports";
    try {
        const std::wstring folder = quorvel::GetReportDirectory();
        if (folder.empty()) return;
        const std::string aid = quorvel::ReportDeviceId();
        if (aid.empty()) return;
        quorvel::UploadPendingReports(folder, quorvel::GetReportUrl(), aid);
    } catch (...) {
        HOST_LOG_ERROR(kFunction, L"[{}]DrainReports unknown exception", kFunction);
    }
}
