// The times of a record of any kind, to be moved from the recording's clock to the world's, and
// whose it is.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

#include "hal.h"

namespace Simulator {
namespace RecordedTimes {

template <typename Record, typename = void>
struct HasHeader : std::false_type {};
template <typename Record>
struct HasHeader<Record, std::void_t<decltype(Record::header)>> : std::true_type {};

template <typename Record, typename = void>
struct HasTimestamp : std::false_type {};
template <typename Record>
struct HasTimestamp<Record, std::void_t<decltype(Record::timestamp)>> : std::true_type {};

template <typename Record, typename = void>
struct HasArrival : std::false_type {};
template <typename Record>
struct HasArrival<Record, std::void_t<decltype(Record::arrivalTimestamp)>> : std::true_type {};

template <typename Record, typename = void>
struct HasSequence : std::false_type {};
template <typename Record>
struct HasSequence<Record, std::void_t<decltype(Record::sequence)>> : std::true_type {};

template <typename Record, typename = void>
struct HasController : std::false_type {};
template <typename Record>
struct HasController<Record, std::void_t<decltype(Record::controller)>> : std::true_type {};

}  // namespace RecordedTimes

/// Number of frames in the set, limited to the array: a file may state any number.
inline size_t framesOf(const Hidl::FrameSet& frameSet) {
    return std::min<size_t>(frameSet.numFrames, decltype(frameSet.frames)::size());
}

/// Calls `action` with each CLOCK_MONOTONIC time of the record, as an int64_t in ns that it may
/// change. A time of 0 was not recorded.
template <typename Record, typename Action>
void forEachTime(Record& record, const Action& action) {
    using namespace RecordedTimes;
    if constexpr (HasHeader<Record>::value) {
        forEachTime(record.header, action);
    }
    if constexpr (HasTimestamp<Record>::value) {
        action(record.timestamp);
    }
    if constexpr (HasArrival<Record>::value) {
        action(record.arrivalTimestamp);
    }
    if constexpr (std::is_same_v<Record, Hidl::FrameSet>) {
        for (size_t i = 0; i < framesOf(record); ++i) {
            forEachTime(record.frames[i], action);
        }
    }
}

/// The record's arrival time; 0 if the record does not have one.
template <typename Record>
int64_t arrivalOf(const Record& record) {
    using namespace RecordedTimes;
    if constexpr (HasHeader<Record>::value) {
        return arrivalOf(record.header);
    } else if constexpr (HasArrival<Record>::value) {
        return record.arrivalTimestamp != 0 ? record.arrivalTimestamp : record.timestamp;
    } else if constexpr (std::is_same_v<Record, Hidl::FrameSet>) {
        int64_t arrival = record.timestamp;
        for (size_t i = 0; i < framesOf(record); ++i) {
            arrival = std::max(arrival, record.frames[i].arrivalTimestamp);
        }
        return arrival;
    } else if constexpr (HasTimestamp<Record>::value) {
        return record.timestamp;
    }
    return 0;
}

/// The address of the controller that the record is of.
template <typename Record>
std::optional<uint64_t> controllerOf(const Record& record) {
    using namespace RecordedTimes;
    if constexpr (std::is_same_v<Record, Hidl::PairedControllerInfo>) {
        return record.address.address;
    } else if constexpr (HasHeader<Record>::value) {
        return record.header.controller.address;
    } else if constexpr (HasController<Record>::value) {
        return record.controller.address;
    }
    return std::nullopt;
}

/// @return null if the record has no sequence number
template <typename Record>
auto* sequenceOf(Record& record) {
    using namespace RecordedTimes;
    if constexpr (HasHeader<Record>::value) {
        return &record.header.sequence;
    } else if constexpr (HasSequence<Record>::value) {
        return &record.sequence;
    } else {
        return static_cast<uint32_t*>(nullptr);
    }
}

}  // namespace Simulator
