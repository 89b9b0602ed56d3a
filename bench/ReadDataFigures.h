#pragma once
// Figures of the raw-push hand-off's reader against a writer in this process;
// the reader runs on a thread of its own, as mutex ownership is per thread.
#include "BenchTable.h"
#include "Measure.h"

// GuidFileMapping::ReadData of a 10 MiB segment set against opening, mapping
// and copying the same bytes without the hand-off's mutex and event.
FigureRow MeasureReadDataAgainstCopy(const BenchSettings& settings);

// How far ReadData runs past a 300 ms time-out when the writer never lets go.
FigureRow MeasureReadDataTimeoutOvershoot(const BenchSettings& settings);
