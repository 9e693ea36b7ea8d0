// The records that sensorctl shows.
#pragma once

#include <fmt/format.h>
#include <vek/sensors/controller_records.h>
#include <vendor/zelvan/hardware/sensors/1.0/methods.h>

#include <string>
#include <type_traits>

#include "camera/camera_fields.h"
#include "controller/controller_fields.h"
#include "environment/environment_fields.h"
#include "motion/motion_fields.h"

namespace TestSupport {

template <typename Record, typename = void>
inline constexpr bool kIsShown = false;
template <typename Record>
inline constexpr bool kIsShown<Record, std::void_t<decltype(Recording::Fields<Record>::list())>> =
    true;

static_assert(kIsShown<Vek::Sensors::FrameSet> && !kIsShown<Vek::Sensors::HapticsState>);

template <typename Record, typename Visit>
void visitIfShown(const Visit& visit) {
    if constexpr (kIsShown<Record>) {
        visit(Record{});
    }
}

/// Calls `visit(record)` with an empty record of each kind.
template <typename Visit>
void forEachShownRecord(const Visit& visit) {
#define VISIT(Record) visitIfShown<Vek::Sensors::Record>(visit);
    HAL_QUEUED_RECORDS(VISIT)
#undef VISIT
}

/// As in a CSV file.
template <typename Record>
std::string rowOf(const Record& record) {
    fmt::memory_buffer row;
    Recording::fieldsOf<Record>().appendRow(row, record);
    return fmt::to_string(row);
}

}  // namespace TestSupport
