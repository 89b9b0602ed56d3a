#include "PackageJobs.h"

// Placeholders, deliberately silent: the jobs need background-task
// registration, which is not built yet.
void RunInstallJob() {}
void RunUninstallJob() {}
void RunMaintenanceJob() {}
