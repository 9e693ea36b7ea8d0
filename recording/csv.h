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

/// Reads a CSV file row by row, in bounded memory. The first line has the titles; a leading `#` and
/// blanks around titles are removed. Cells may be quoted. Empty lines are skipped. Threading: one
/// thread at a time.
class CsvReader {
  public:
    /// Throws Error if the file cannot be opened or has no titles.
    explicit CsvReader(const std::filesystem::path& path);

    const std::vector<std::string>& titles() const { return titles_; }
    /// @return the index of the column, or -1 if there is no column with that title.
    int column(std::string_view title) const;
    /// Like column(), but throws Error if there is none.
    int requireColumn(std::string_view title) const;
    /// Gives a column another title; does nothing if there is none of that title.
    void renameColumn(std::string_view title, std::string_view newTitle);

    /// Reads the next row. Throws Error if its number of cells differs from the number of titles,
    /// or it cannot be read. A last line without a line end is ignored: the recording was cut off
    /// there.
    /// @return false at the end.
    bool next();

    /// Cells of the row; valid until the next call of next().
    const std::vector<std::string_view>& cells() const { return cells_; }
    /// The line on which the row begins, from 1.
    size_t line() const { return line_; }
    /// Offset of the end of the row in the file, in bytes.
    uint64_t offset() const { return offset_; }
    /// Whether the file ended in the middle of a line. Only after next() returned false.
    bool isCutOff() const { return isCutOff_; }

    /// Moves back to before the first row.
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

    /// Throws an Error that says that the cell of this column is not a number.
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

/// Reads the rows of a CSV file back into records. Columns that the record does not have are
/// ignored; fields without a column, or with an empty cell, are not changed.
template <typename Record>
class RecordReader {
  public:
    explicit RecordReader(CsvReader& csv, const FieldList<Record>& fields = fieldsOf<Record>())
        : csv_(csv) {
        for (const std::string& title : csv.titles()) {
            columns_.push_back(fields.find(title));
        }
    }

    /// Reads the current row of `csv`. Throws Error with file and line if a cell does not fit its
    /// field.
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
