// Formats measurements as a table.
#include "measurement_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <utility>

namespace {

using Nanoseconds = std::chrono::nanoseconds;
using Value = std::optional<double>;

template <typename Unit>
Value in(std::optional<Nanoseconds> time) {
    using Decimal = std::chrono::duration<double, typename Unit::period>;
    return time ? Value(Decimal(*time).count()) : std::nullopt;
}

Value ifRegular(const StreamMeasurement& measurement, Nanoseconds time) {
    return measurement.intervals.count() == 0 ? std::nullopt : in<std::chrono::milliseconds>(time);
}

double bytesOfRecord(const StreamMeasurement& measurement) {
    return measurement.records == 0
               ? 0
               : static_cast<double>(measurement.bytes) / static_cast<double>(measurement.records);
}

Cell cellOf(const Quantity& quantity, const Value& value) {
    if (!value) {
        return {};
    }
    const bool isCount = quantity.decimals == 0 && quantity.unit == std::string();
    return {isCount ? Json(std::llround(*value)) : Json(*value),
            fmt::format("{:.{}f}", *value, quantity.decimals)};
}

bool isFromSeveral(const SensorStream& stream) {
    const auto& sources = stream.statistics().sources();
    return !sources.empty() && sources.rbegin()->first != 0;
}

}  // namespace

const std::vector<Quantity>& quantities() {
    using M = const StreamMeasurement&;
    using Time = RateMeter::Time;
    static const std::vector<Quantity> kQuantities{
        {"records", "", 0, [](M m, Time) { return Value(m.records); }},
        {"rate", "Hz", 1, [](M m, Time now) { return Value(m.rate.perSecond(now)); }},
        {"batch", "", 1, [](M m, Time) { return Value(m.batch()); }},
        {"min", "ms", 2, [](M m, Time) { return ifRegular(m, m.intervals.shortest()); }},
        {"max", "ms", 2, [](M m, Time) { return ifRegular(m, m.intervals.longest()); }},
        {"sd", "ms", 3, [](M m, Time) { return ifRegular(m, m.intervals.standardDeviation()); }},
        {"gap", "ms", 2,
         [](M m, Time now) { return in<std::chrono::milliseconds>(m.rate.largestGap(now)); }},
        {"p50", "us", 0,
         [](M m, Time) { return in<std::chrono::microseconds>(m.latencies.percentile(0.50)); }},
        {"p99", "us", 0,
         [](M m, Time) { return in<std::chrono::microseconds>(m.latencies.percentile(0.99)); }},
        {"drops", "", 0, [](M m, Time) { return m.drops ? Value(*m.drops) : std::nullopt; }},
        {"bandwidth", "kB/s", 1,
         [](M m, Time now) { return Value(m.rate.perSecond(now) * bytesOfRecord(m) * 1e-3); }},
    };
    return kQuantities;
}

std::string sourceName(uint64_t source) {
    return source == StreamStatistics::kOthers ? "others" : fmt::format("{:#x}", source);
}

Table measurementTable(const SensorStreams& streams, Measurement choose, RateMeter::Time now) {
    const bool hasControllers = std::any_of(
        streams.begin(), streams.end(), [](const auto& stream) { return isFromSeveral(*stream); });
    std::vector<std::string> titles{"stream"};
    if (hasControllers) {
        titles.emplace_back("controller");
    }
    for (const Quantity& quantity : quantities()) {
        const std::string unit = quantity.unit;
        titles.push_back(quantity.name + (unit.empty() ? "" : " " + unit));
    }
    titles.emplace_back("last values");
    Table table(titles);
    const auto addRow = [&](const SensorStream& stream, uint64_t source,
                            const SourceStatistics& statistics) {
        std::vector<Cell> row{stream.name()};
        if (hasControllers) {
            row.push_back(source == 0 ? Cell() : Cell(sourceName(source)));
        }
        for (const Quantity& quantity : quantities()) {
            row.push_back(cellOf(quantity, quantity.valueOf((statistics.*choose)(), now)));
        }
        row.emplace_back(stream.lastValues(source));
        table.addRow(std::move(row));
    };
    for (const auto& stream : streams) {
        for (const auto& [source, statistics] : stream->statistics().sources()) {
            addRow(*stream, source, statistics);
        }
        if (stream->statistics().sources().empty()) {
            addRow(*stream, 0, {});
        }
    }
    return table;
}
