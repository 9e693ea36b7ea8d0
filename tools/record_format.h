// How the records of a stream are measured and written down: what each kind of record specialises.
#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>

#include "stream_statistics.h"

/// The part of a sample that its journey is measured by.
struct SampleHeader {
    /// CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    uint32_t sequence;
    bool isDiscontinuity;
    /// Whose count it is, of a stream that has the samples of more than one device.
    uint64_t source = 0;
};

/// The specialisations have
/// - `kCsvTitles`: the title line of a CSV file's columns, all fields of the record;
/// - `header`: what the record's journey is measured by; empty for records that carry no time;
/// - `describe`: the values for a table, with units;
/// - `appendCsv`: appends the columns, without a line end; numbers read back as what they were.
template <typename Data>
struct RecordFormat;
