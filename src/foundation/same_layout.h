// Records that have the same layout in the HAL and in the API: the compile-time proof, and the copy
// from one to the other.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/fields.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "foundation/hal.h"

namespace Vek::Sensors::Convert {

/// Copies a plain record or an enumeration. Enumeration values without a name are kept.
template <typename To, typename From>
To copyBits(const From& from) {
    static_assert(sizeof(To) == sizeof(From));
    static_assert(std::is_trivially_copyable_v<To> && std::is_trivially_copyable_v<From>);
    To to;
    std::memcpy(&to, &from, sizeof(to));
    return to;
}

}  // namespace Vek::Sensors::Convert

/// For records that are copied bit for bit: asserts that each field of the HAL's record has the
/// same offset and size in both. `size` is in bytes.
#define MORIAK_SAME_LAYOUT(record, size)                                                \
    HAL_FIELDS_OF_##record(MORIAK_SAME_PLACE) static_assert(sizeof(record) == (size) && \
                                                            sizeof(Hidl::record) == (size))
#define MORIAK_SAME_PLACE(record, field)                                      \
    static_assert(offsetof(record, field) == offsetof(Hidl::record, field) && \
                  sizeof(record::field) == sizeof(Hidl::record::field));
