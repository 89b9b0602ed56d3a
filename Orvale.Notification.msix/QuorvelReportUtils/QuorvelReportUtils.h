#pragma once
// The report road: what the rest of the module calls to report an event. A
// body is built, encrypted, queued as a file, claimed by exactly one uploader
// and posted to the collector; what cannot be posted now stays queued for a
// later run.
#include <cstdint>

#include "QuorvelReportBody.h"
#include "QuorvelReportClaim.h"
#include "QuorvelReportCrypto.h"
#include "QuorvelEndpoints.h"
#include "QuorvelReportStorage.h"
#include "QuorvelReportUpload.h"

namespace quorvel {

// Builds, queues and tries to post the report on the calling thread (up to the
// 10-second POST time-out). Never throws for a reporting failure.
void ReportEvent(std::uint32_t level, const ErrorEventInfo& record);

// Builds the report here (level 0), then queues and posts it on a new report
// thread. JoinReportThreads must run before the module is unloaded.
void ReportToggleEventAsync(const ToggleEventInfo& record);

// Joins every report thread in the order they were started and forgets them.
// A failed join (a report thread joining itself included) throws
// std::system_error and leaves the threads not yet joined in the list.
void JoinReportThreads();

}  // namespace quorvel
