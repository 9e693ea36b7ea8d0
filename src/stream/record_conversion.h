// Which records are converted on their way to the client, and how it sees those that are not.
#pragma once

#include <vek/gsl.h>

#include <cstddef>
#include <type_traits>

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

/// The records where they are, as the client's type; `Data` has the layout of `HidlData`.
template <typename Data, typename HidlData>
gsl::span<const Data> inPlace(const HidlData* records, size_t count) {
    static_assert(sizeof(Data) == sizeof(HidlData) && alignof(Data) <= alignof(HidlData));
    static_assert(std::is_trivially_copyable_v<Data>);
    return {reinterpret_cast<const Data*>(records), count};
}

}  // namespace Vek::Sensors::HidlWrapper
