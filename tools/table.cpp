// Lays out text tables.
#include "table.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {
    auto& titles = rows_.emplace_back();
    for (const Column& column : columns_) {
        titles.push_back(column.title);
    }
}

void Table::addRow(std::vector<std::string> cells) {
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

std::vector<std::string> Table::lines() const {
    std::vector<std::string> lines(rows_.size());
    for (size_t column = 0; column < columns_.size(); ++column) {
        size_t width = 0;
        for (const auto& row : rows_) {
            width = std::max(width, row[column].size());
        }
        const bool isRight = columns_[column].align == Align::RIGHT;
        for (size_t row = 0; row < rows_.size(); ++row) {
            const std::string& cell = rows_[row][column];
            lines[row] += column == 0 ? "" : "  ";
            lines[row] +=
                isRight ? fmt::format("{:>{}}", cell, width) : fmt::format("{:<{}}", cell, width);
        }
    }
    for (std::string& line : lines) {
        line.erase(line.find_last_not_of(' ') + 1);
    }
    return lines;
}

std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}
