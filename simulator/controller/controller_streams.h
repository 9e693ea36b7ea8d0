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

    /// Like StreamClients, for the records that this many controllers send at once.
    bool awaitRoom(size_t controllers) const;
    void endWaits() const;

    /// Sets a function that is called when a client of a stream starts or stops. Call this once,
    /// before there are clients.
    void onChange(const std::function<void()>& function) const;

    /// For each stream a line for the user.
    std::vector<std::string> summary() const;

    // For the programs that use the controllers.
    const Stream<Hidl::PairedControllerInfo> stateChanges;
    const Stream<Hidl::CurlData> curl;
    const Stream<Hidl::ControllerImuData> imu;
    const Stream<Hidl::ButtonData> buttons;
    const Stream<Hidl::PrecisionPadData> precisionPad;
    const Stream<Hidl::MultiTouchData> multiTouch;
    const Stream<Hidl::StylusData> stylus;
    const Stream<Hidl::WirelessDeviceStats> wirelessStats;
    const Stream<Hidl::PoseInput> poses;
    const Stream<Hidl::ControllerInputADCData> adc;
    const Stream<Hidl::ControllerCollisionEvent> collisions;
    // For the program that owns the controllers' state.
    const Stream<Hidl::HapticsState> haptics;
    const Stream<Hidl::WirelessStateTransition> wirelessStates;
    const Stream<Hidl::ControllerInputData> inputs;

  private:
    template <typename Function>
    void forEach(const Function& function) const {
        const auto each = [&function](const auto&... streams) { (function(streams), ...); };
        each(stateChanges, curl, imu, buttons, precisionPad, multiTouch, stylus, wirelessStats,
             poses, adc, collisions, haptics, wirelessStates, inputs);
    }
};

}  // namespace Simulator
