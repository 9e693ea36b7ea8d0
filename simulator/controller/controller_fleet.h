// The simulated controllers and their radio link to the headset: their state, and the stream of
// their records.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "controller/controller_device.h"
#include "controller/controller_settings.h"
#include "controller/controller_streams.h"
#include "faults.h"
#include "hal.h"
#include "sampler.h"

namespace Simulator {

/// The controllers that one streaming client has enabled. Removed with the client. Guarded by the
/// fleet's lock.
struct StreamingListener {
    /// The process whose streams get the records.
    int process;
    /// Addresses of controllers.
    std::set<uint64_t> enabled;
    std::set<uint64_t> adcs;
};

/// Threading: every method may be called from any thread. Records are written under the fleet's
/// lock, so that clients get all changes in order; clients are never called under it.
class ControllerFleet {
  public:
    using Time = ControllerDevice::Time;

    ControllerFleet(const ControllerSettings& settings, const std::shared_ptr<Faults>& faults,
                    std::shared_ptr<WorldClock> clock, const std::shared_ptr<const World>& world);
    /// For controllers of a recording: they are not sampled, and their records come from play().
    ControllerFleet(const std::shared_ptr<Faults>& faults, std::shared_ptr<WorldClock> clock,
                    std::vector<ControllerDevice> devices);

    const ControllerSettings& settings() const { return settings_; }
    const ControllerStreams& streams() const { return streams_; }
    Time now() const { return clock_->now(); }

    std::vector<Hidl::PairedControllerInfo> paired() const;
    std::vector<Hidl::AdvertisingControllerInfo> advertising() const;
    /// @return FAILURE if no controller with this address advertises itself
    Hidl::Result pair(Hidl::ControllerAddr address);
    /// @return FAILURE if no controller with this address is paired, BAD_STATE while its firmware
    /// is updated
    Hidl::Result unpair(Hidl::ControllerAddr address);

    /// Calls `action` with the paired controller of that address, and sends changes of its state to
    /// the clients.
    /// @return the result of `action`; `otherwise` if there is no such controller
    template <typename Answer, typename Action>
    Answer with(Hidl::ControllerAddr address, Answer otherwise, const Action& action) {
        const std::lock_guard lock{mutex_};
        ControllerDevice* const device = findPairedLocked(address);
        if (device == nullptr) {
            return otherwise;
        }
        const Answer answer = action(*device);
        publishLocked();
        return answer;
    }
    /// Like `with`, but finds the controller by the hand that holds it.
    template <typename Action>
    bool withHand(Hidl::ControllerHand hand, const Action& action) {
        const std::lock_guard lock{mutex_};
        for (ControllerDevice& device : devices_) {
            if (device.isPaired() && device.identity().hand == hand) {
                return action(device);
            }
        }
        return false;
    }

    /// @return false if there are too many listeners, in total or of its process
    bool add(const std::shared_ptr<StreamingListener>& listener);
    /// Also stops the haptics that it plays.
    void remove(const std::shared_ptr<StreamingListener>& listener);
    /// These two: @return false if there is no such controller
    bool enable(StreamingListener* listener, Hidl::ControllerAddr address, bool isOn);
    bool enableAdc(StreamingListener* listener, Hidl::ControllerAddr address, bool isOn);

    /// These two, in dB and dBm: @return false if the radio cannot do it
    bool setTransmitPowerBoost(int8_t boost);
    bool setMaxTransmitPower(int8_t power);
    /// @return false if every channel would be blocked
    bool setBlocklist(uint32_t channels);
    uint32_t blocklist() const;

    /// The radio stays in pairing mode until completePairing(), or for some seconds.
    void enterPairingMode();
    void completePairing();

    /// Sequence number of a controller's next message; empty if the controller is not paired.
    std::optional<uint32_t> nextMessage(Hidl::ControllerAddr address);

    /// Chooses where poses come from: the owner of the state, or the simulated hands.
    void setTracked(bool isTracked);
    /// @return false if there is no such controller
    bool deliverPose(const Hidl::PoseOutput& pose);

    using Switches = std::set<uint64_t> StreamingListener::*;

    /// Writes a recorded record to the clients that have enabled it for the controller, unless a
    /// fault cuts the controller off.
    template <typename Record>
    void play(const ControllerStreams::Stream<Record>& stream, const Record& record,
              Hidl::ControllerAddr controller, Switches switches) {
        const std::lock_guard lock{mutex_};
        const ControllerDevice* const device = findLocked(controller);
        if (device == nullptr || !device->isCutOff()) {
            stream->write({record}, listenersOf(switches, controller));
        }
    }
    /// Sets the controller's state to a recorded one and sends it to the clients.
    void play(const Hidl::PairedControllerInfo& info);
    /// Whether any client has enabled the samples of the controller.
    bool isOn(Hidl::ControllerAddr controller, Switches switches) const;
    /// Sets a function that is called when the result of isOn() may have changed. Call this once,
    /// before there are clients.
    void onSwitch(std::function<void()> function) { onSwitch_ = std::move(function); }

    /// Stops all samples, permanently.
    void stop();
    std::vector<std::string> summary() const;

  private:
    static constexpr int32_t kMostTransmitPower = 20;  // dBm

    ControllerFleet(const ControllerSettings& settings, const std::shared_ptr<Faults>& faults,
                    std::shared_ptr<WorldClock> clock, bool isSampled);

    /// Called by the constructors when devices_ is complete.
    void begin();
    void takeInputs(const Batch& batch);
    void takeImuSamples(const Batch& batch);
    void writeInputsLocked(ControllerDevice* device, SampleInstant instant);
    void writePoseLocked(ControllerDevice* device, const Hidl::PoseOutput& pose);
    void writeLinkStatisticsLocked(const ControllerDevice& device, int64_t now);
    void publishLocked();
    Hidl::WirelessState radioStateLocked(Time now) const;

    ControllerDevice* findLocked(Hidl::ControllerAddr address);
    ControllerDevice* findPairedLocked(Hidl::ControllerAddr address);
    /// Predicate for StreamClients::write: whether a process has enabled the controller.
    std::function<bool(int process)> listenersOf(Switches switches,
                                                 Hidl::ControllerAddr controller) const;
    void notifySwitch() const;
    void updateImuSamplerLocked();

    const ControllerSettings settings_;
    const ControllerStreams streams_;
    const std::shared_ptr<Faults> faults_;
    const std::shared_ptr<WorldClock> clock_;
    const bool isSampled_;
    std::function<void()> onSwitch_;
    mutable std::mutex mutex_;  // guards everything below but the samplers
    std::vector<ControllerDevice> devices_;
    std::vector<std::shared_ptr<StreamingListener>> listeners_;
    uint32_t blocklist_ = 0;
    int32_t transmitPowerBoost_ = 0;
    int32_t maxTransmitPower_ = kMostTransmitPower;
    Hidl::WirelessState radioState_ = Hidl::WirelessState::CONNECTED;
    Time pairingUntil_{};
    bool isTracked_ = false;
    uint64_t ticks_ = 0;
    // Last members: their threads use all the others.
    Sampler imuSampler_;
    Sampler inputSampler_;
};

}  // namespace Simulator
