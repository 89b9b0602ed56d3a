#pragma once
// The package jobs of "-type 1/2/3". Not built yet: the entry already calls
// them at their final places.
void RunInstallJob();
void RunUninstallJob();
void RunMaintenanceJob();
