// Text tables and the columns that the commands share.
#pragma once

#include <string>
#include <vector>

/// A table with a title for each column, its columns as wide as their widest cell.
class Table {
  public:
    enum class Align { LEFT, RIGHT };
    struct Column {
        std::string title;
        Align align;
    };

    explicit Table(std::vector<Column> columns);

    /// @param cells one for each column; in ASCII.
    void addRow(std::vector<std::string> cells);

    /// The title line, then one line for each row; without trailing blanks or line ends.
    std::vector<std::string> lines() const;

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

/// `text` with everything that could steer a terminal replaced by question marks.
std::string printable(std::string text);
