#include "PackageJobs.h"

// Placeholders, deliberately silent: the jobs need the package manager,
// background-task registration and telemetry, which are not built yet.
void RunInstallJob() {}
void RunUninstallJob() {}
void RunMaintenanceJob() {}
void DrainReports() {}
