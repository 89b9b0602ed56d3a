#pragma once
// Timing helpers shared by every figure: wall-clock seconds of a piece of
// work, repeated, and the median, which a single slow run under Wine does not move.
#include <functional>
#include <string>
#include <vector>

#include "BenchTable.h"

struct BenchSettings {
    int repetitions = 7;      // samples per figure; the median is reported
    int slowRepetitions = 3;  // for figures whose one sample takes seconds
};

double SecondsOf(const std::function<void()>& work);

// `sample` run `times` times; each call returns one measured value.
std::vector<double> Repeat(int times, const std::function<double()>& sample);

double MedianOf(std::vector<double> values);

// Seconds of the measured work and of its baseline, taken one after the
// other in each repetition, so that both sides of a ratio see the same load
// of a shared machine; `ratio` holds measured / baseline per repetition.
struct PairedSamples {
    std::vector<double> measured, baseline, ratio;
};
PairedSamples RepeatPaired(int times, const std::function<double()>& measured, const std::function<double()>& baseline);

// A bounded wait's row: the median time the call took and how far that lies
// past its time-out (the largest overshoot too, as one slow wake-up matters).
FigureRow OvershootRow(std::string figure, double timeoutSeconds, const std::vector<double>& elapsed);

// "850 us", "12.3 ms", "4.56 s".
std::string DurationText(double seconds);
