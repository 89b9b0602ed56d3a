#pragma once
// Figures of a host run: the launcher started as the client starts it, and
// the log lines every run closes with.
#include "BenchTable.h"
#include "Measure.h"

// `OrvaleHost.exe -type 0` (a run that does nothing) set against a host that
// loads the module and returns without calling it, both as child processes.
FigureRow MeasureDoNothingRunAgainstBareLoad(const BenchSettings& settings);

// The 200 lines of the closing flush through the module's logging helper and
// the stand-alone logger, set against writing the same bytes to a file.
FigureRow MeasureFlushLines(const BenchSettings& settings);
