#pragma once
// Figures of the report road, each against the loopback collector.
#include "BenchTable.h"
#include "Measure.h"

// The local part of one report (encrypt and save, claim, read and decrypt,
// delete) set against one POST of the same body.
FigureRow MeasureReportPathAgainstPost(const BenchSettings& settings);

// The same local part set against bare Win32 file calls and CNG calls doing
// the same work.
FigureRow MeasureReportPathAgainstBare(const BenchSettings& settings);

// One POST through the module set against a bare Winsock POST of the same
// request to the same collector.
FigureRow MeasurePostAgainstBare(const BenchSettings& settings);

// A bare Winsock POST to the loopback collector set against the same POST to
// a trivial server.
FigureRow MeasureCollectorAgainstTrivialServer(const BenchSettings& settings);

// Reports per second that the queue drain posts from a folder of 1,000, set
// against a bare loop of the same file, CNG and socket calls.
FigureRow MeasureDrainThroughput(const BenchSettings& settings);

// How far one POST to a collector that answers too late runs past the
// module's 10-second time-out.
FigureRow MeasurePostTimeoutOvershoot(const BenchSettings& settings);

// Private bytes after 1,000 reports are queued and drained, and after a
// second 1,000: what the second round keeps, per report, is what the module
// holds on to (each round's collector, with its records, is gone by then).
FigureRow MeasureDrainMemory(const BenchSettings& settings);
