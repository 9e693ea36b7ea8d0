// The measurements of streams as a table.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sensor_stream.h"
#include "stream_statistics.h"
#include "table.h"

/// A quantity that is measured for every stream.
struct Quantity {
    const char* name;
    /// Unit of the value; empty for counts and ratios.
    const char* unit;
    /// Decimals in text output.
    int decimals;
    /// Empty if it could not be measured. `now` is the end of the measurement.
    std::optional<double> (*valueOf)(const StreamMeasurement& measurement, RateMeter::Time now);
};

/// In the order of the table's columns.
const std::vector<Quantity>& quantities();

/// Chooses one of the two measurements of a source: the interval or the total.
using Measurement = const StreamMeasurement& (SourceStatistics::*)() const;

using SensorStreams = std::vector<std::unique_ptr<SensorStream>>;

/// A row for each stream, and for each controller of the streams that carry several.
Table measurementTable(const SensorStreams& streams, Measurement choose, RateMeter::Time now);

/// Text of a source in tables: the controller's address.
std::string sourceName(uint64_t source);
