// Records that have one layout in the HAL's form and in the API's: the proof of it, and the copy
// from one form to the other.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/fields.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "foundation/hal.h"

namespace Vek::Sensors::Convert {

/// Of plain records and of enumerations; values that have no name are kept.
template <typename To, typename From>
To copyBits(const From& from) {
    static_assert(sizeof(To) == sizeof(From));
    static_assert(std::is_trivially_copyable_v<To> && std::is_trivially_copyable_v<From>);
    To to;
    std::memcpy(&to, &from, sizeof(to));
    return to;
}

}  // namespace Vek::Sensors::Convert

/// For records that are carried bit for bit: each field that the HAL's record has is in one place
/// and has one size in both. `size` is in bytes.
#define MORIAK_SAME_LAYOUT(record, size)                                                \
    HAL_FIELDS_OF_##record(MORIAK_SAME_PLACE) static_assert(sizeof(record) == (size) && \
                                                            sizeof(Hidl::record) == (size))
#define MORIAK_SAME_PLACE(record, field)                                      \
    static_assert(offsetof(record, field) == offsetof(Hidl::record, field) && \
                  sizeof(record::field) == sizeof(Hidl::record::field));
