// Tables of results, for people and for programs.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

/// Keeps the order of its members.
using Json = nlohmann::ordered_json;

/// One value of a table: JSON for programs and text for people.
struct Cell {
    /// No value: null in JSON, "-" in text.
    Cell() : text("-") {}

    /// @param service's own words; cut to a size that no sensible text has.
    Cell(std::string words);
    Cell(const char* words) : Cell(std::string(words)) {}
    Cell(const std::vector<std::string>& names);

    template <typename Number, typename = std::enable_if_t<std::is_arithmetic_v<Number>>>
    Cell(Number number) : value(number), text(value.dump()) {}

    /// @param shown text for people instead of the value itself.
    Cell(Json exact, std::string shown) : value(std::move(exact)), text(std::move(shown)) {}

    Json value;
    std::string text;
};

/// A table whose columns are as wide as their widest cell; numbers are right-aligned. Rows are
/// limited to kMostRows and cells to a maximum width, because a service could send any amount.
class Table {
  public:
    static constexpr size_t kMostRows = 1000;

    /// @param titles for people. Programs get them as keys: lower case, joined by underscores.
    explicit Table(std::vector<std::string> titles) : titles_(std::move(titles)) {}

    /// @param cells one for each column.
    void addRow(std::vector<Cell> cells);

    /// The title line, then one line for each row, without trailing blanks and line ends. If rows
    /// were left out, the last line states how many.
    std::vector<std::string> lines() const;

    /// An object for each row.
    Json rows() const;

  private:
    std::vector<std::string> titles_;
    std::vector<std::vector<Cell>> rows_;
    size_t rowsLeftOut_ = 0;
};

/// Makes `text` safe for a terminal: replaces control characters with question marks and truncates
/// very long texts.
std::string printable(std::string text);

/// Joins the names with commas; leaves out the end of a long list.
std::string listOf(const std::vector<std::string>& names);
