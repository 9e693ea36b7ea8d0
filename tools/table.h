// Text tables and the columns that the commands share.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A table with a title for each column, its columns as wide as their widest cell. However much a
/// service has to tell, it shows no more than kMostRows, and cells of a bounded width.
class Table {
  public:
    enum class Align { LEFT, RIGHT };
    struct Column {
        std::string title;
        Align align;
    };

    static constexpr size_t kMostRows = 1000;

    explicit Table(std::vector<Column> columns);

    /// @param cells one for each column; in ASCII.
    void addRow(std::vector<std::string> cells);

    /// The title line, then one line for each row; without trailing blanks or line ends. If rows
    /// were left out, a last line says how many.
    std::vector<std::string> lines() const;

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
    size_t rowsLeftOut_ = 0;
};

/// `text` as a terminal may have it: everything that could steer it replaced by question marks, and
/// cut to a width that no sensible text has.
std::string printable(std::string text);

/// The names behind each other, as far as people read.
std::string listOf(const std::vector<std::string>& names);
