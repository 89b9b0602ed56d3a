#pragma once
// The package jobs of "-type 1/2/3" and the report drain that closes every
// run. Not built yet: the entry already calls them at their final places.
void RunInstallJob();
void RunUninstallJob();
void RunMaintenanceJob();
void DrainReports();
