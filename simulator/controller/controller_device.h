// One simulated controller: its identity, state and settings.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "controller/controller_model.h"
#include "controller/haptics_player.h"
#include "faults.h"
#include "hal.h"

namespace Simulator {

struct ControllerIdentity {
    Hidl::ControllerAddr address;
    Hidl::ControllerType type;
    Hidl::ControllerHand hand;
    std::string name;
    std::string model;
    std::string serialNumber;
    std::array<uint8_t, 5> productCode;
    /// Permanent feature bits. Bits for a running mode or update are added to them.
    uint32_t features;
};

constexpr uint32_t maskOf(Hidl::ControllerFeature feature) {
    return 1U << static_cast<uint32_t>(feature);
}

/// Not synchronised: the fleet's lock guards it.
class ControllerDevice {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// @param isPaired whether it is paired and connected from the beginning; otherwise it
    /// advertises itself
    ControllerDevice(ControllerIdentity identity, ControllerModel controllerModel, bool isPaired);

    const ControllerIdentity& identity() const { return identity_; }
    bool isPaired() const { return isPaired_; }
    bool isConnected() const { return connection_ == Hidl::ControllerConnection::CONNECTED; }
    /// Whether a fault prevents its samples from arriving.
    bool isCutOff() const { return effects_.isCutOff(); }
    Hidl::ControllerConnection connection() const { return connection_; }
    /// Whether its samples arrive.
    bool isSampled() const { return isConnected() && !isUpdating_ && !isCutOff(); }
    bool has(Hidl::ControllerFeature feature) const {
        return (identity_.features & maskOf(feature)) != 0;
    }

    Hidl::Result pair(Time now);
    Hidl::Result unpair(Time now);
    Hidl::Result enterDmm();
    Hidl::Result exitDmm();
    Hidl::Result beginUpdate(Hidl::ControllerType type);
    /// @param isComplete whether the controller now runs the next version
    void endUpdate(bool isComplete);
    bool sleep();
    bool wake(Time now);

    /// Applies the effects of current faults. Call it in every cycle, even without effects: it also
    /// ends those that are over.
    void suffer(const ControllerEffects& effects, Time now);

    /// Lets time pass: connects what is connecting, drains the battery, warms up or cools down.
    void advance(Time now);

    /// Whether its state has changed since the last call.
    bool takeChange();

    /// In degrees Celsius.
    double temperature() const { return temperature_; }

    /// Sets the state to a recorded one. From then on commands do not change it; only faults do.
    void setRecorded(const Hidl::PairedControllerInfo& info);

    Hidl::PairedControllerInfo info() const;
    Hidl::AdvertisingControllerInfo advertisement() const;

    /// Stores the setting if it is valid. @return whether it is
    bool setLed(const Hidl::ControllerLedConfig& config);
    const Hidl::ControllerLedConfig& led() const { return led_; }
    bool setThumbstickRange(const Hidl::ThumbstickADCRange& range);
    bool setDeadzone(float deadzone);
    const ThumbstickCalibration& thumbstick() const { return thumbstick_; }

    ControllerModel model;
    HapticsPlayer haptics;
    /// The client that sent the last haptic command.
    const void* hapticsOwner = nullptr;
    /// Sequence numbers of the next samples, by kind.
    struct {
        uint32_t inputs = 0;
        uint32_t imu = 0;
        uint32_t poses = 0;
        uint32_t collisions = 0;
        uint32_t messages = 0;
    } sequences;

  private:
    void connect(Time now);
    /// The connection state that faults impose on `connection`.
    Hidl::ControllerConnection afflicted(Hidl::ControllerConnection connection) const;

    const ControllerIdentity identity_;
    bool isPaired_;
    Hidl::ControllerConnection connection_;
    ControllerEffects effects_;
    bool isDmm_ = false;
    bool isUpdating_ = false;
    uint32_t firmwareRevision_ = 0;
    Time connectedAt_{};
    Time nextReport_{};
    double charge_ = 0.9;  // 0 to 1
    double temperature_ = 25;
    bool isChanged_ = false;
    std::optional<Hidl::PairedControllerInfo> recorded_;
    Hidl::ControllerLedConfig led_{};
    ThumbstickCalibration thumbstick_;
};

}  // namespace Simulator
