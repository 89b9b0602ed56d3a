#include "BenchTable.h"

#include <algorithm>

BenchTable::BenchTable(std::vector<std::string> headers) { rows_.push_back(std::move(headers)); }

void BenchTable::AddRow(std::vector<std::string> cells) {
    cells.resize(rows_.front().size());
    rows_.push_back(std::move(cells));
}

void BenchTable::AddFigure(const FigureRow& row) { AddRow({row.figure, row.measured, row.baseline, row.result}); }

std::string BenchTable::Text() const {
    std::vector<std::size_t> widths(rows_.front().size(), 0);
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    const auto line = [&](const std::vector<std::string>& cells) {
        std::string text;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            text += cells[i];
            if (i + 1 < cells.size()) text += std::string(widths[i] - cells[i].size() + 2, ' ');
        }
        return text + "\n";
    };
    std::string text = line(rows_.front());
    std::vector<std::string> rule;
    for (const std::size_t width : widths) rule.emplace_back(width, '-');
    text += line(rule);
    for (std::size_t i = 1; i < rows_.size(); ++i) text += line(rows_[i]);
    return text;
}
