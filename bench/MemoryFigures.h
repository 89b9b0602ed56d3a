#pragma once
// Memory over a client's lifetime: how this process grows while the module
// shows push boxes. With the simulated notification centre's history bounded,
// what keeps growing is what the module holds; with the centre keeping every
// toast, the difference is the centre's share.
#include "BenchTable.h"
#include "Measure.h"

// Growth after 1,000, 10,000 and 20,000 push boxes, and the bytes each push
// box adds from 10,000 to 20,000 (none once the module's share is flat), with
// the centre keeping 500 toasts.
FigureRow MeasurePushBoxMemory(const BenchSettings& settings);

// The same with the centre keeping every toast, as it did before it had a limit.
FigureRow MeasurePushBoxMemoryAllKept(const BenchSettings& settings);
