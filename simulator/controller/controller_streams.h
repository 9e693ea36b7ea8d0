// The streams of the hand controllers, with their clients.
#pragma once

#include <functional>
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

    /// Has `function` called whenever a client of a stream starts or stops. To be set once, before
    /// there are clients.
    void onChange(const std::function<void()>& function) const;

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

  private:
    template <typename Function>
    void forEach(const Function& function) const {
        const auto each = [&function](const auto&... streams) { (function(streams), ...); };
        each(stateChanges, curl, imu, buttons, precisionPad, multiTouch, stylus, wirelessStats,
             poses, adc, collisions, haptics, wirelessStates, inputs);
    }
};

}  // namespace Simulator
