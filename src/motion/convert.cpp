// Copies motion records field by field.
#include "motion/convert.h"

namespace Vek::Sensors::Convert {

MotionSensorInfo fromHidl(const Hidl::MotionSensorInfo& info) {
    // Keeps values of the service that have no name here.
    return {info.sensor, static_cast<MotionSensorKind>(info.kind),
            static_cast<MotionSensorMount>(info.mount), info.index};
}

MotionSensorMetadata fromHidl(const Hidl::MotionSensorMetadata& metadata) {
    MotionSensorMetadata result;
    result.sensors.reserve(metadata.sensors.size());
    for (const Hidl::MotionSensorInfo& info : metadata.sensors) {
        result.sensors.push_back(fromHidl(info));
    }
    return result;
}

MotionSensorProperties fromHidl(const Hidl::MotionSensorProperties& properties) {
    return {properties.name, properties.vendor, properties.serialNumber, properties.firmwareVersion,
            properties.maxSampleRate};
}

Hidl::MotionStreamProperties intoHidl(const MotionStreamProperties& properties) {
    return {properties.sampleRate, properties.batchSize};
}

}  // namespace Vek::Sensors::Convert
