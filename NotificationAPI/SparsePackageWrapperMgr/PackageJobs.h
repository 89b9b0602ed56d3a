#pragma once
// The package jobs of "-type 1/2/3", with the switches they read themselves:
// "-timeout" (types 1 and 2) and "-install_dir" (type 1).
void RunInstallJob();
void RunUninstallJob();
void RunMaintenanceJob();
