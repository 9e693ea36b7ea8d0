// What was measured of the streams, as a table.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sensor_stream.h"
#include "stream_statistics.h"
#include "table.h"

/// One thing that is measured of every stream.
struct Quantity {
    const char* name;
    /// Of the value; empty for counts and ratios.
    const char* unit;
    /// As many as people read.
    int decimals;
    /// Empty if it could not be measured. `now` is the end of the measurement.
    std::optional<double> (*valueOf)(const StreamMeasurement& measurement, RateMeter::Time now);
};

/// In the order of the table's columns.
const std::vector<Quantity>& quantities();

/// Which of the two measurements of a source.
using Measurement = const StreamMeasurement& (SourceStatistics::*)() const;

using SensorStreams = std::vector<std::unique_ptr<SensorStream>>;

/// A row for each stream, and for each controller of the streams that carry several.
Table measurementTable(const SensorStreams& streams, Measurement choose, RateMeter::Time now);

/// As tables have it: the address of a controller.
std::string sourceName(uint64_t source);
