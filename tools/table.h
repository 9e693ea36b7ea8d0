// Tables of results, for people and for programs.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

/// Keeps the order of its members.
using Json = nlohmann::ordered_json;

/// One value of a table, as programs get it and as people read it.
struct Cell {
    /// Nothing to tell: null, or "-".
    Cell() : text("-") {}

    /// @param service's own words; cut to a size that no sensible text has.
    Cell(std::string words);
    Cell(const char* words) : Cell(std::string(words)) {}
    Cell(const std::vector<std::string>& names);

    template <typename Number, typename = std::enable_if_t<std::is_arithmetic_v<Number>>>
    Cell(Number number) : value(number), text(value.dump()) {}

    /// @param shown what people read instead of the value itself.
    Cell(Json exact, std::string shown) : value(std::move(exact)), text(std::move(shown)) {}

    Json value;
    std::string text;
};

/// A table whose columns are as wide as their widest cell; numbers are on the right. However much a
/// service has to tell, it shows no more than kMostRows, and cells of a bounded width.
class Table {
  public:
    static constexpr size_t kMostRows = 1000;

    /// @param titles for people. Programs get them as keys: lower case, joined by underscores.
    explicit Table(std::vector<std::string> titles) : titles_(std::move(titles)) {}

    /// @param cells one for each column.
    void addRow(std::vector<Cell> cells);

    /// The title line, then one line for each row; without trailing blanks or line ends. If rows
    /// were left out, a last line says how many.
    std::vector<std::string> lines() const;

    /// An object for each row.
    Json rows() const;

  private:
    std::vector<std::string> titles_;
    std::vector<std::vector<Cell>> rows_;
    size_t rowsLeftOut_ = 0;
};

/// `text` as a terminal may have it: everything that could steer it replaced by question marks, and
/// cut to a width that no sensible text has.
std::string printable(std::string text);

/// The names behind each other, as far as people read.
std::string listOf(const std::vector<std::string>& names);
