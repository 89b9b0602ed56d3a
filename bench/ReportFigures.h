#pragma once
// Figures of the report road, each against the loopback collector.
#include "BenchTable.h"
#include "Measure.h"

// The local part of one report (encrypt and save, claim, read and decrypt,
// delete) set against one POST of the same body.
FigureRow MeasureReportPathAgainstPost(const BenchSettings& settings);

// Reports per second that the queue drain posts from a folder of 1,000.
FigureRow MeasureDrainThroughput(const BenchSettings& settings);

// How far one POST to a collector that answers too late runs past the
// module's 10-second time-out.
FigureRow MeasurePostTimeoutOvershoot(const BenchSettings& settings);
