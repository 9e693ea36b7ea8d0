// What a record says of its journey.
#pragma once

#include <cstdint>
#include <optional>

struct RecordOrigin {
    /// Which device's it is, of a stream that carries the records of several.
    uint64_t source = 0;
    /// CLOCK_MONOTONIC, in ns.
    std::optional<int64_t> timestamp;
    std::optional<uint32_t> sequence;
    /// Records before this one were dropped.
    bool isDiscontinuity = false;
};
