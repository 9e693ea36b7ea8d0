// Prints records as they come.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "recording/fields.h"

/// Prints the chosen columns of the records of one stream to standard output.
class RecordPrinter {
  public:
    /// TEXT: a line for each column; CSV: a row for each record; JSON: an object for each record.
    enum class Format { TEXT, CSV, JSON };

    /// @param fields names of columns, or prefixes of names, such as "acceleration"; empty: all
    /// columns.
    /// @param most maximum number of records to print; empty: no limit.
    RecordPrinter(Format format, std::vector<std::string> fields, std::optional<uint64_t> most)
        : format_(format), fields_(std::move(fields)), most_(most) {}

    /// Call it before the first record. Throws Failure if a field matches none of `columns`.
    void begin(const std::vector<std::string>& columns);

    /// @param received when the record came: CLOCK_MONOTONIC, in ns.
    template <typename Record>
    void print(int64_t received, const Record& record) {
        using Recording::CellKind;
        if (isDone()) {
            return;
        }
        const auto& columns = Recording::fieldsOf<Record>().columns();
        for (const size_t place : places_) {
            cell_.clear();
            if (place == 0) {
                fmt::format_to(fmt::appender(cell_), "{}", received);
            } else {
                columns[place - 1].append(record, cell_);
            }
            appendCell(place == 0 ? CellKind::NUMBER : columns[place - 1].kind);
        }
        endRecord();
    }

    /// Writes out what was printed.
    void flush();

    bool isDone() const { return most_ && printed_ >= *most_; }

  private:
    /// Appends `cell_` under the next title.
    void appendCell(Recording::CellKind kind);
    void endRecord();

    const Format format_;
    const std::vector<std::string> fields_;
    const std::optional<uint64_t> most_;
    /// Indices of the columns to print: 0 is the time of reception, 1 the record's first column.
    std::vector<size_t> places_;
    std::vector<std::string> titles_;
    uint64_t printed_ = 0;
    /// Number of cells of the current record so far.
    size_t cells_ = 0;
    fmt::memory_buffer cell_;
    fmt::memory_buffer out_;
};
