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

std::string DurationText(double seconds) {
    if (seconds < 1e-3) return fmt::format("{:.0f} us", seconds * 1e6);
    if (seconds < 1.0) return fmt::format("{:.2f} ms", seconds * 1e3);
    return fmt::format("{:.2f} s", seconds);
}
