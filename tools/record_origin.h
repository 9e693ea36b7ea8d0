// A record's source, time stamp and sequence number.
#pragma once

#include <cstdint>
#include <optional>

struct RecordOrigin {
    /// The device of the record, in a stream that carries several devices.
    uint64_t source = 0;
    /// CLOCK_MONOTONIC, in ns.
    std::optional<int64_t> timestamp;
    std::optional<uint32_t> sequence;
    /// Whether records before this one were dropped.
    bool isDiscontinuity = false;
};
