// CSV files with named columns, written and read row by row.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "recording/error.h"
#include "recording/fields.h"

namespace Recording {

/// Reads a CSV file row by row, in bounded memory. The first line has the titles; a `#` before it
/// is no part of the first one, nor are blanks around a title. Cells may stand in quotation marks.
/// Empty lines are passed over. Not for use by several threads at once.
class CsvReader {
  public:
    /// Throws Error if the file cannot be opened or has no titles.
    explicit CsvReader(const std::filesystem::path& path);

    const std::vector<std::string>& titles() const { return titles_; }
    /// @return the place of the column, or -1 if there is none of that title.
    int column(std::string_view title) const;
    /// Like column(). Throws Error if there is none.
    int requireColumn(std::string_view title) const;
    /// Gives a column another title; does nothing if there is none of that title.
    void renameColumn(std::string_view title, std::string_view newTitle);

    /// Goes to the next row. Throws Error if it has more or fewer cells than there are titles, or
    /// cannot be read. A last line without its line end is no row but the mark of a recording that
    /// was cut off.
    /// @return false at the end.
    bool next();

    /// Of the row; valid until the next call of next().
    const std::vector<std::string_view>& cells() const { return cells_; }
    /// The line on which the row begins, from 1.
    size_t line() const { return line_; }
    /// Bytes of the file up to the end of the row.
    uint64_t offset() const { return offset_; }
    /// Whether the file ended in the middle of a line. Only after next() returned false.
    bool isCutOff() const { return isCutOff_; }

    /// Goes back to before the first row.
    void rewind();

    /// The cell as a number. Throws Error if it is none of that type.
    template <typename Number>
    Number number(int column) const {
        Number value{};
        if (!readCell(cells_.at(static_cast<size_t>(column)), value)) {
            fail(column);
        }
        return value;
    }

    /// An Error about the row: "FILE:LINE: message".
    [[nodiscard]] Error error(const std::string& message) const;

  private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    /// Throws Error that the cell of the row is not a number of the column.
    [[noreturn]] void fail(int column) const;
    bool readRow();
    void split();

    std::filesystem::path path_;
    std::unique_ptr<std::FILE, CloseFile> file_;
    std::vector<std::string> titles_;
    std::string row_;
    std::vector<std::string_view> cells_;
    size_t line_ = 0;
    size_t nextLine_ = 1;
    uint64_t offset_ = 0;
    uint64_t firstRow_ = 0;
    size_t firstRowLine_ = 1;
    bool isCutOff_ = false;
};

/// Reads the rows of a CSV file back into records. Columns that the record does not have are passed
/// over; fields without a column, or with an empty cell, stay as they are.
template <typename Record>
class RecordReader {
  public:
    explicit RecordReader(CsvReader& csv, const FieldList<Record>& fields = fieldsOf<Record>())
        : csv_(csv) {
        for (const std::string& title : csv.titles()) {
            columns_.push_back(fields.find(title));
        }
    }

    /// Reads the row that `csv` stands at. Throws Error with file and line if a cell does not fit.
    void read(Record& record) const {
        for (size_t i = 0; i < columns_.size(); ++i) {
            const std::string_view cell = csv_.cells()[i];
            if (columns_[i] == nullptr || (cell.empty() && columns_[i]->kind == CellKind::NUMBER)) {
                continue;
            }
            if (!columns_[i]->read(cell, record)) {
                throw csv_.error(
                    fmt::format("\"{}\" is no value of {}", cell.substr(0, 40), columns_[i]->name));
            }
        }
    }

  private:
    CsvReader& csv_;
    /// For each column of the file; null where the record has no such field.
    std::vector<const Column<Record>*> columns_;
};

}  // namespace Recording
