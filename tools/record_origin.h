// Where a record comes from, and when.
#pragma once

#include <cstdint>
#include <optional>

struct RecordOrigin {
    /// The device that the record is of, in a stream that carries several devices.
    uint64_t source = 0;
    /// CLOCK_MONOTONIC, in ns.
    std::optional<int64_t> timestamp;
    std::optional<uint32_t> sequence;
    /// Records before this one were dropped.
    bool isDiscontinuity = false;
};
