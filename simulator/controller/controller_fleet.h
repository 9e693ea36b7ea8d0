// The simulated controllers and their radio link to the headset: their state, and their records as
// they come in.
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

/// What one streaming client has switched on; it ends with the client. Guarded by the fleet's lock.
struct StreamingListener {
    /// Whose streams it is for.
    int process;
    /// Addresses of controllers.
    std::set<uint64_t> enabled;
    std::set<uint64_t> adcs;
};

/// Threading: every method may be called from any thread. Records are written under the fleet's
/// lock, so that clients get all changes in the order in which they came about; no call to a client
/// is made under it.
class ControllerFleet {
  public:
    using Time = ControllerDevice::Time;

    ControllerFleet(const ControllerSettings& settings, const std::shared_ptr<Faults>& faults,
                    std::shared_ptr<WorldClock> clock, const std::shared_ptr<const World>& world);
    /// Of controllers that are not sampled: their records come by play().
    ControllerFleet(const std::shared_ptr<Faults>& faults, std::shared_ptr<WorldClock> clock,
                    std::vector<ControllerDevice> devices);

    const ControllerSettings& settings() const { return settings_; }
    const ControllerStreams& streams() const { return streams_; }
    Time now() const { return clock_->now(); }

    std::vector<Hidl::PairedControllerInfo> paired() const;
    std::vector<Hidl::AdvertisingControllerInfo> advertising() const;
    /// @return FAILURE if no such controller advertises itself
    Hidl::Result pair(Hidl::ControllerAddr address);
    /// @return FAILURE if no such controller is paired, BAD_STATE while it is updated
    Hidl::Result unpair(Hidl::ControllerAddr address);

    /// Calls `action` with the paired controller of that address, and tells the clients what it
    /// changed.
    /// @return what `action` returned; `otherwise` if there is no such controller
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
    /// As `with`, by the hand that holds it.
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

    /// @return false if there are too many, of all or of its process
    bool add(const std::shared_ptr<StreamingListener>& listener);
    /// Ends what it plays, too.
    void remove(const std::shared_ptr<StreamingListener>& listener);
    /// These two: @return false if there is no such controller
    bool enable(StreamingListener* listener, Hidl::ControllerAddr address, bool isOn);
    bool enableAdc(StreamingListener* listener, Hidl::ControllerAddr address, bool isOn);

    /// These two, in dB and dBm: @return false if the radio cannot do it
    bool setTransmitPowerBoost(int8_t boost);
    bool setMaxTransmitPower(int8_t power);
    /// @return false if it leaves no channel
    bool setBlocklist(uint32_t channels);
    uint32_t blocklist() const;

    /// The radio pairs until that is completed, or for some seconds.
    void enterPairingMode();
    void completePairing();

    /// The number of the next message of a controller; none if it is not paired.
    std::optional<uint32_t> nextMessage(Hidl::ControllerAddr address);

    /// Whether the poses come from the owner of the state instead of the simulated hands.
    void setTracked(bool isTracked);
    /// @return false if there is no such controller
    bool deliverPose(const Hidl::PoseOutput& pose);

    using Switches = std::set<uint64_t> StreamingListener::*;

    /// Writes a record to those who have it on for its controller, unless a fault keeps it back.
    template <typename Record>
    void play(const ControllerStreams::Stream<Record>& stream, const Record& record,
              Hidl::ControllerAddr controller, Switches switches) {
        const std::lock_guard lock{mutex_};
        const ControllerDevice* const device = findLocked(controller);
        if (device == nullptr || !device->isCutOff()) {
            stream->write({record}, listenersOf(switches, controller));
        }
    }
    /// Writes a state, which the controller then has.
    void play(const Hidl::PairedControllerInfo& info);
    /// Whether any client has it on for the controller.
    bool isOn(Hidl::ControllerAddr controller, Switches switches) const;
    /// Has `function` called whenever that may have changed. To be set once, before there are
    /// clients.
    void onSwitch(std::function<void()> function) { onSwitch_ = std::move(function); }

    /// No more samples, for good.
    void stop();
    std::vector<std::string> summary() const;

  private:
    static constexpr int32_t kMostTransmitPower = 20;  // dBm

    ControllerFleet(const ControllerSettings& settings, const std::shared_ptr<Faults>& faults,
                    std::shared_ptr<WorldClock> clock, bool isSampled);

    /// Once it is known which controllers there are.
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
    /// For the writing of a stream: whether a process has that on for the controller.
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
    // The last: their threads use all of the others.
    Sampler imuSampler_;
    Sampler inputSampler_;
};

}  // namespace Simulator
