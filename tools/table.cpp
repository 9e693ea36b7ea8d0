// Lays out text tables.
#include "table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {
    auto& titles = rows_.emplace_back();
    for (const Column& column : columns_) {
        titles.push_back(column.title);
    }
}

void Table::addRow(std::vector<std::string> cells) {
    if (rows_.size() > kMostRows) {
        ++rowsLeftOut_;
        return;
    }
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
    if (rowsLeftOut_ > 0) {
        lines.push_back(fmt::format("and {} more", rowsLeftOut_));
    }
    return lines;
}

std::string printable(std::string text) {
    constexpr size_t kMostCharacters = 80;
    constexpr char kEllipsis[] = "...";
    if (text.size() > kMostCharacters) {
        text.resize(kMostCharacters - std::strlen(kEllipsis));
        text += kEllipsis;
    }
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

std::string listOf(const std::vector<std::string>& names) {
    constexpr size_t kMostNames = 20;
    const size_t shown = std::min(names.size(), kMostNames);
    std::string list = fmt::format("{}", fmt::join(names.data(), names.data() + shown, ", "));
    if (shown < names.size()) {
        list += fmt::format(" and {} more", names.size() - shown);
    }
    return list;
}
