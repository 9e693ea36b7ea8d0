// Motion records between the HAL's form and the API's, and the proof that sample records have one
// layout in both.
#pragma once

#include <vek/sensors/motion.h>

#include <cstddef>

#include "foundation/hal.h"

namespace Vek::Sensors {
namespace Convert {

MotionSensorInfo fromHidl(const Hidl::MotionSensorInfo& info);
MotionSensorMetadata fromHidl(const Hidl::MotionSensorMetadata& metadata);
MotionSensorProperties fromHidl(const Hidl::MotionSensorProperties& properties);
Hidl::MotionStreamProperties intoHidl(const MotionStreamProperties& properties);

}  // namespace Convert

static_assert(sizeof(ImuData) == 64 && sizeof(Hidl::ImuData) == 64);
static_assert(offsetof(ImuData, timestamp) == offsetof(Hidl::ImuData, timestamp));
static_assert(offsetof(ImuData, arrivalTimestamp) == offsetof(Hidl::ImuData, arrivalTimestamp));
static_assert(offsetof(ImuData, acceleration) == offsetof(Hidl::ImuData, acceleration));
static_assert(offsetof(ImuData, angularRate) == offsetof(Hidl::ImuData, angularRate));
static_assert(offsetof(ImuData, temperature) == offsetof(Hidl::ImuData, temperature));
static_assert(offsetof(ImuData, sequence) == offsetof(Hidl::ImuData, sequence));
static_assert(offsetof(ImuData, sensor) == offsetof(Hidl::ImuData, sensor));
static_assert(offsetof(ImuData, status) == offsetof(Hidl::ImuData, status));
static_assert(offsetof(ImuData, accelerationRange) == offsetof(Hidl::ImuData, accelerationRange));
static_assert(offsetof(ImuData, angularRateRange) == offsetof(Hidl::ImuData, angularRateRange));

static_assert(sizeof(MagData) == 40 && sizeof(Hidl::MagData) == 40);
static_assert(offsetof(MagData, timestamp) == offsetof(Hidl::MagData, timestamp));
static_assert(offsetof(MagData, field) == offsetof(Hidl::MagData, field));
static_assert(offsetof(MagData, temperature) == offsetof(Hidl::MagData, temperature));
static_assert(offsetof(MagData, sequence) == offsetof(Hidl::MagData, sequence));
static_assert(offsetof(MagData, sensor) == offsetof(Hidl::MagData, sensor));
static_assert(offsetof(MagData, status) == offsetof(Hidl::MagData, status));
static_assert(offsetof(MagData, range) == offsetof(Hidl::MagData, range));

static_assert(sizeof(IadData) == 4 && sizeof(Hidl::IadData) == 4);
static_assert(sizeof(MotionSensorInfo) == 8 && sizeof(Hidl::MotionSensorInfo) == 8);
static_assert(sizeof(MotionStreamProperties) == 8 && sizeof(Hidl::MotionStreamProperties) == 8);

}  // namespace Vek::Sensors
