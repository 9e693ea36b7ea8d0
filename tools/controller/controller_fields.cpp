// The columns are in recording/controller_records.h; here is where a record comes from.
#include "controller/controller_fields.h"

#include <vek/sensors/motion.h>

#include <cstdint>

#include "controller/controller_text.h"
#include "recording/controller_records.h"

using namespace Vek::Sensors;

namespace {

using Recording::wordOf;
using Recording::Words;
using Recording::wordsOfBits;

const Words kConnection =
    wordOf<ControllerConnection>([](ControllerConnection connection) { return text(connection); });
const Words kUpdating = wordsOfBits({{CONTROLLER_FEATURE_UPDATING, "updating"}});
const Words kButtons = wordsOfBits({{CONTROLLER_BUTTON_TRIGGER, "trigger"},
                                    {CONTROLLER_BUTTON_GRIP, "grip"},
                                    {CONTROLLER_BUTTON_MENU, "menu"},
                                    {CONTROLLER_BUTTON_HOME, "home"},
                                    {CONTROLLER_BUTTON_THUMBSTICK, "thumbstick"},
                                    {CONTROLLER_BUTTON_PRIMARY, "primary"},
                                    {CONTROLLER_BUTTON_SECONDARY, "secondary"}});

/// Origin of records without time stamps and sequence numbers.
RecordOrigin unnumbered(ControllerAddr controller) {
    RecordOrigin origin;
    origin.source = static_cast<uint64_t>(controller);
    return origin;
}

}  // namespace

template <>
struct Recording::Fields<ControllerSampleHeader> {
    static FieldList<ControllerSampleHeader> list() {
        return controllerHeaderFields<ControllerSampleHeader>();
    }
};

template <>
struct Recording::Fields<TouchPoint> {
    static FieldList<TouchPoint> list() { return touchPointFields<TouchPoint>(); }
};

namespace Recording {

FieldList<PairedControllerInfo> Fields<PairedControllerInfo>::list() {
    return pairedControllerFields<PairedControllerInfo>(kConnection, kUpdating);
}

FieldList<ControllerImuData> Fields<ControllerImuData>::list() {
    return controllerImuFields<ControllerImuData>();
}

FieldList<ButtonData> Fields<ButtonData>::list() {
    return buttonFields<ButtonData>(kButtons);
}

FieldList<CurlData> Fields<CurlData>::list() {
    return curlFields<CurlData>();
}

FieldList<PrecisionPadData> Fields<PrecisionPadData>::list() {
    return precisionPadFields<PrecisionPadData>();
}

FieldList<MultiTouchData> Fields<MultiTouchData>::list() {
    return multiTouchFields<MultiTouchData>();
}

FieldList<StylusData> Fields<StylusData>::list() {
    return stylusFields<StylusData>();
}

FieldList<ControllerInputADCData> Fields<ControllerInputADCData>::list() {
    return controllerAdcFields<ControllerInputADCData>();
}

FieldList<PoseInput> Fields<PoseInput>::list() {
    return poseInputFields<PoseInput>();
}

FieldList<ControllerCollisionEvent> Fields<ControllerCollisionEvent>::list() {
    return collisionFields<ControllerCollisionEvent>();
}

FieldList<WirelessDeviceStats> Fields<WirelessDeviceStats>::list() {
    return wirelessStatsFields<WirelessDeviceStats>();
}

}  // namespace Recording

RecordOrigin originOf(const PairedControllerInfo& record) {
    return unnumbered(record.address);
}
RecordOrigin originOf(const ControllerImuData& record) {
    return {static_cast<uint64_t>(record.controller), record.timestamp, record.sequence,
            (record.status & MOTION_SAMPLE_DISCONTINUITY) != 0};
}
RecordOrigin originOf(const ButtonData& record) {
    // The lower 32 bits are enough to find gaps in the 64-bit number.
    return {static_cast<uint64_t>(record.header.controller), record.header.timestamp,
            static_cast<uint32_t>(record.header.sequence), false};
}
RecordOrigin originOf(const CurlData& record) {
    return unnumbered(record.header.controller);
}
RecordOrigin originOf(const PrecisionPadData& record) {
    return unnumbered(record.header.controller);
}
RecordOrigin originOf(const MultiTouchData& record) {
    return unnumbered(record.header.controller);
}
RecordOrigin originOf(const StylusData& record) {
    return unnumbered(record.header.controller);
}
RecordOrigin originOf(const ControllerInputADCData& record) {
    return unnumbered(record.controller);
}
RecordOrigin originOf(const PoseInput& record) {
    return {static_cast<uint64_t>(record.controller), record.timestamp, record.sequence, false};
}
RecordOrigin originOf(const ControllerCollisionEvent& record) {
    return {static_cast<uint64_t>(record.controller), record.timestamp, record.sequence, false};
}
RecordOrigin originOf(const WirelessDeviceStats& record) {
    RecordOrigin origin = unnumbered(record.controller);
    origin.timestamp = record.timestamp;
    return origin;
}
