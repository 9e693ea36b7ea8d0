// Which records are converted on their way to the client, and access to those that are not.
#pragma once

#include <vek/gsl.h>

#include <cstddef>
#include <type_traits>

namespace Vek::Sensors::HidlWrapper {

/// How a stream's HAL record becomes the API record `Data`.
///
/// By default it is not converted: both have the same layout, and the client sees the queue's
/// memory. For a record with a different layout, a specialisation has the number of records of a
/// batch that are converted without using the heap, and `static Data convert(const HidlData&
/// record)`.
template <typename Data>
struct RecordConversion {
    static constexpr size_t kFixedRecords = 0;
};

template <typename Data>
inline constexpr bool kIsConverted = RecordConversion<Data>::kFixedRecords != 0;

/// Views the records in place as the client's type. `Data` must have the layout of `HidlData`.
template <typename Data, typename HidlData>
gsl::span<const Data> inPlace(const HidlData* records, size_t count) {
    static_assert(sizeof(Data) == sizeof(HidlData) && alignof(Data) <= alignof(HidlData));
    static_assert(std::is_trivially_copyable_v<Data>);
    return {reinterpret_cast<const Data*>(records), count};
}

}  // namespace Vek::Sensors::HidlWrapper
