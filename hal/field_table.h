// What the table of the fields of a HAL package's records consists of. The table itself, `fields.h`
// in the package's directory, is made out of the interface definitions when the package is built.
// It also has a macro HAL_FIELDS_OF_<Record>(X) for each record: X(Record, field) for each field.
#pragma once

#include <hidl/HidlSupport.h>

#include <cstddef>

namespace HalTable {

/// `visit(record, visitor)` calls `visitor("field", record.field)` for each field of a record.
template <typename Record>
struct FieldsOf {
    static constexpr bool kAreKnown = false;
};

template <typename Value>
inline constexpr bool kIsArray = false;
template <typename Element, size_t size>
inline constexpr bool kIsArray<android::hardware::hidl_array<Element, size>> = true;

}  // namespace HalTable
