// Which records are converted on their way to the client.
#pragma once

#include <cstddef>

namespace Vek::Sensors::HidlWrapper {

/// How a stream's HAL record becomes the API record `Data`.
///
/// As it stands here: not at all, since both have one layout; the client sees the queue's memory.
/// A record with a layout of its own specialises this with the number of records that a batch
/// converts without touching the heap, and with
/// `static Data convert(const HidlData& record)`.
template <typename Data>
struct RecordConversion {
    static constexpr size_t kFixedRecords = 0;
};

template <typename Data>
inline constexpr bool kIsConverted = RecordConversion<Data>::kFixedRecords != 0;

}  // namespace Vek::Sensors::HidlWrapper
