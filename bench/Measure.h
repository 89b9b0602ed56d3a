#pragma once
// Timing helpers shared by every figure: wall-clock seconds of a piece of
// work, repeated, and the median, which a single slow run under Wine does not move.
#include <functional>
#include <string>
#include <vector>

struct BenchSettings {
    int repetitions = 7;      // samples per figure; the median is reported
    int slowRepetitions = 3;  // for figures whose one sample takes seconds
};

double SecondsOf(const std::function<void()>& work);

// `sample` run `times` times; each call returns one measured value.
std::vector<double> Repeat(int times, const std::function<double()>& sample);

double MedianOf(std::vector<double> values);

// "850 us", "12.3 ms", "4.56 s".
std::string DurationText(double seconds);
