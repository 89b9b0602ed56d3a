#pragma once
// First step of every run's closing phase: no report a run started is lost
// when the host process ends right after the entry returns.
void DrainReports();
