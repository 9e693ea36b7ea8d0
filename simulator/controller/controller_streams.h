// The streams of the hand controllers, with their clients.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hal.h"
#include "stream_clients.h"

namespace Simulator {

struct ControllerStreams {
    template <typename Record>
    using Stream = android::sp<StreamClients<Record>>;

    explicit ControllerStreams(const std::shared_ptr<Faults>& faults);

    /// As of StreamClients, for what so many controllers send at once.
    bool awaitRoom(size_t controllers) const;
    void endWaits() const;

    /// For each stream a line for the user.
    std::vector<std::string> summary() const;

    // For the programs that use the controllers.
    const Stream<Hal::PairedControllerInfo> stateChanges;
    const Stream<Hal::CurlData> curl;
    const Stream<Hal::ControllerImuData> imu;
    const Stream<Hal::ButtonData> buttons;
    const Stream<Hal::PrecisionPadData> precisionPad;
    const Stream<Hal::MultiTouchData> multiTouch;
    const Stream<Hal::StylusData> stylus;
    const Stream<Hal::WirelessDeviceStats> wirelessStats;
    const Stream<Hal::PoseInput> poses;
    const Stream<Hal::ControllerInputADCData> adc;
    const Stream<Hal::ControllerCollisionEvent> collisions;
    // For the program that owns the controllers' state.
    const Stream<Hal::HapticsState> haptics;
    const Stream<Hal::WirelessStateTransition> wirelessStates;
    const Stream<Hal::ControllerInputData> inputs;
};

}  // namespace Simulator
