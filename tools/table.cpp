// Lays out text tables.
#include "table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

namespace {

void cut(std::string& text, size_t mostCharacters) {
    constexpr std::string_view kEllipsis = "...";
    if (text.size() > mostCharacters) {
        text.resize(mostCharacters - kEllipsis.size());
        text += kEllipsis;
    }
}

std::string keyOf(const std::string& title) {
    std::string key;
    for (const char c : title) {
        if (c == '%') {
            key += "percent";
        } else if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            key += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else {
            key += '_';
        }
    }
    return key;
}

}  // namespace

Cell::Cell(std::string words) {
    constexpr size_t kMostBytes = 1000;
    cut(words, kMostBytes);
    value = words;
    text = printable(std::move(words));
}

Cell::Cell(const std::vector<std::string>& names) : value(Json::array()) {
    const size_t count = std::min(names.size(), Table::kMostRows);
    for (size_t i = 0; i < count; ++i) {
        value.push_back(Cell(names[i]).value);
    }
    text = printable(listOf(names));
}

void Table::addRow(std::vector<Cell> cells) {
    if (rows_.size() == kMostRows) {
        ++rowsLeftOut_;
        return;
    }
    cells.resize(titles_.size());
    rows_.push_back(std::move(cells));
}

std::vector<std::string> Table::lines() const {
    std::vector<std::string> lines(rows_.size() + 1);
    for (size_t column = 0; column < titles_.size(); ++column) {
        size_t width = titles_[column].size();
        bool isNumber = false;
        for (const auto& row : rows_) {
            width = std::max(width, row[column].text.size());
            isNumber = isNumber || row[column].value.is_number();
        }
        const auto append = [&](std::string& line, const std::string& text) {
            line += column == 0 ? "" : "  ";
            line +=
                isNumber ? fmt::format("{:>{}}", text, width) : fmt::format("{:<{}}", text, width);
        };
        append(lines[0], titles_[column]);
        for (size_t row = 0; row < rows_.size(); ++row) {
            append(lines[row + 1], rows_[row][column].text);
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

Json Table::rows() const {
    Json rows = Json::array();
    for (const auto& cells : rows_) {
        Json row = Json::object();
        for (size_t column = 0; column < titles_.size(); ++column) {
            row[keyOf(titles_[column])] = cells[column].value;
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string printable(std::string text) {
    constexpr size_t kMostCharacters = 80;
    cut(text, kMostCharacters);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

std::string listOf(const std::vector<std::string>& names) {
    constexpr size_t kMostNames = 40;
    const size_t shown = std::min(names.size(), kMostNames);
    std::string list = fmt::format("{}", fmt::join(names.data(), names.data() + shown, ", "));
    if (shown < names.size()) {
        list += fmt::format(" and {} more", names.size() - shown);
    }
    return list;
}
