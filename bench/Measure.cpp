#include "Measure.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

double SecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::vector<double> Repeat(int times, const std::function<double()>& sample) {
    std::vector<double> values;
    for (int i = 0; i < times; ++i) values.push_back(sample());
    return values;
}

double MedianOf(std::vector<double> values) {
    if (values.empty()) throw std::invalid_argument("median of nothing");
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

namespace {

// A wait that ended early shows as a negative overshoot.
std::string SignedDurationText(double seconds) {
    return (seconds < 0 ? "-" : "+") + DurationText(seconds < 0 ? -seconds : seconds);
}

}  // namespace

PairedSamples RepeatPaired(int times, const std::function<double()>& measured, const std::function<double()>& baseline) {
    PairedSamples samples;
    for (int i = 0; i < times; ++i) {
        samples.measured.push_back(measured());
        samples.baseline.push_back(baseline());
        samples.ratio.push_back(samples.measured.back() / samples.baseline.back());
    }
    return samples;
}

FigureRow OvershootRow(std::string figure, double timeoutSeconds, const std::vector<double>& elapsed) {
    const double median = MedianOf(elapsed);
    const double longest = *std::max_element(elapsed.begin(), elapsed.end());
    return {std::move(figure), DurationText(median), DurationText(timeoutSeconds) + " time-out",
            fmt::format("{} past it (largest {})", SignedDurationText(median - timeoutSeconds),
                        SignedDurationText(longest - timeoutSeconds))};
}

std::string DurationText(double seconds) {
    if (seconds < 1e-3) return fmt::format("{:.0f} us", seconds * 1e6);
    if (seconds < 1.0) return fmt::format("{:.2f} ms", seconds * 1e3);
    return fmt::format("{:.2f} s", seconds);
}
