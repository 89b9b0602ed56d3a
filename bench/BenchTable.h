#pragma once
// The benchmark's output: one row per figure, columns padded to their widest cell.
#include <string>
#include <vector>

// What one figure measured, in words a reader compares at a glance.
struct FigureRow {
    std::string figure;    // what was measured
    std::string measured;  // the median of the measured work
    std::string baseline;  // what it is set against, "-" when nothing
    std::string result;    // the ratio or rate the figure is about
};

class BenchTable {
public:
    explicit BenchTable(std::vector<std::string> headers);
    void AddRow(std::vector<std::string> cells);
    void AddFigure(const FigureRow& row);
    std::string Text() const;

private:
    std::vector<std::vector<std::string>> rows_;  // the headers first
};
