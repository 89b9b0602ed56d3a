#pragma once
// Bounded waits of the package road against the simulated package manager,
// steered so that its operations never end.
#include "BenchTable.h"
#include "Measure.h"

// How far InstallNotificationPackage runs past a 300 ms time-out.
FigureRow MeasureInstallTimeoutOvershoot(const BenchSettings& settings);

// How far UninstallNotificationPackage runs past a 300 ms time-out, with one
// registration to remove.
FigureRow MeasureUninstallTimeoutOvershoot(const BenchSettings& settings);
