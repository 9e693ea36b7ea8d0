// Controller services in the test's own process, which write their calls down and answer as the
// test chooses.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerStateProvider.h>

#include <string>
#include <vector>

#include "support/fake_motion_hal.h"

namespace TestSupport {

using android::sp;
using android::hardware::hidl_array;
using android::hardware::hidl_vec;
using android::hardware::MQDescriptorSync;

template <typename HalInterface>
class RecordingService : public FakeService<HalInterface> {
  public:
    using Interface = HalInterface;

    /// Method and arguments of each call that does not ask for values, as the HAL package prints
    /// them.
    std::vector<std::string> calls;
    /// What commands answer, and the flags that come with values.
    bool succeeds = true;
    /// False for a service that breaks the rules: it returns without its callback being called.
    bool callsBack = true;

  protected:
    /// To be called with the method's arguments.
    template <typename Answer>
    auto record(const char* method, Answer answer) {
        return [this, method, answer](const auto&... arguments) {
            using android::hardware::toString;
            std::string call = method;
            ((call += " " + toString(arguments)), ...);
            calls.push_back(call);
            return this->transportFails ? Return<Answer>(this->deadObject())
                                        : Return<Answer>(answer);
        };
    }
    /// To be called with the values.
    template <typename Callback>
    auto deliver(const Callback& callback) {
        return [this, &callback](const auto&... values) -> Return<void> {
            if (this->transportFails) return this->deadObject();
            if (callsBack) callback(values...);
            return android::hardware::Void();
        };
    }
};

// Arguments and values stand in parentheses.
#define FAKE_COMMAND(method, parameters, arguments) \
    Return<bool> method parameters override {       \
        return record(#method, succeeds) arguments; \
    }
#define FAKE_CONTROL(method, parameters, arguments)   \
    Return<Hidl::Result> method parameters override { \
        return record(#method, result) arguments;     \
    }
#define FAKE_QUERY(method, parameters, values) \
    Return<void> method parameters override {  \
        return deliver(callback) values;       \
    }
#define FAKE_VOID(method, parameters, arguments)                 \
    Return<void> method parameters override {                    \
        return deliver([&] { record(#method, 0) arguments; })(); \
    }

using Address = const Hidl::ControllerAddr&;

class FakeManagementClient : public RecordingService<Hidl::IControllerManagementClient> {
  public:
    FAKE_VOID(release, (), ())
    FAKE_QUERY(getAdvertisingControllers, (getAdvertisingControllers_cb callback), (advertising))
    FAKE_CONTROL(enterDMM, (Address c), (c))
    FAKE_CONTROL(exitDMM, (Address c), (c))
    FAKE_CONTROL(pairController, (Address c), (c))
    FAKE_CONTROL(unpairController, (Address c), (c))
    Return<Hidl::Result> updateFirmware(Address c, Hidl::ControllerType type,
                                        const FWUpdateCallbackConfig& config) override {
        update = config;
        return record("updateFirmware", result)(c, type, config.minimumInterval,
                                                config.minimumStep);
    }

    hidl_vec<Hidl::AdvertisingControllerInfo> advertising;
    FWUpdateCallbackConfig update{};
};

class FakeStreamingClient : public RecordingService<Hidl::IControllerStreamingClient> {
  public:
    using Led = Hidl::ControllerLedConfig;
    using Range = Hidl::ThumbstickADCRange;
    using Steps = hidl_array<Hidl::SimpleHapticIntensity, 6>;
    using Samples = hidl_vec<uint8_t>;

    FAKE_VOID(release, (), ())
    FAKE_QUERY(getCalibrationData, (Address, getCalibrationData_cb callback), (uint16_t{7}, "data"))
    FAKE_VOID(enable, (Address c), (c))
    FAKE_VOID(disable, (Address c), (c))
    FAKE_COMMAND(controlInputADCStreaming, (Address c, bool on), (c, on))
    FAKE_COMMAND(setLedConfig, (const Led& config), (config))
    FAKE_QUERY(getLedConfig, (Address, getLedConfig_cb callback), (led, succeeds))
    FAKE_COMMAND(setTransmitPowerBoost, (int8_t boost), (boost))
    FAKE_COMMAND(setMaxHostTransmitPower, (int8_t power), (power))
    FAKE_COMMAND(setSimpleHaptics, (Address c, uint8_t intensity), (c, intensity))
    FAKE_COMMAND(setSimpleHapticsPattern, (Address c, const Steps& steps), (c, steps))
    FAKE_COMMAND(setBufferedHaptics,
                 (Address c, double rate, uint8_t count, bool repeat, const Samples& samples),
                 (c, rate, count, repeat, samples))
    FAKE_COMMAND(appendBufferedHaptics, (Address c, uint8_t n, const Samples& samples),
                 (c, n, samples))
    FAKE_COMMAND(appendPCMHaptics, (Address c, const hidl_vec<int8_t>& samples), (c, samples))
    FAKE_COMMAND(setThumbstickMaxADCRange, (Address c, const Range& range), (c, range))
    FAKE_QUERY(getThumbstickMaxADCRange, (Address, getThumbstickMaxADCRange_cb callback),
               (Range{1, 2, 3, 4}, succeeds))
    FAKE_COMMAND(resetThumbstickMaxADCRange, (Address c), (c))
    FAKE_COMMAND(setThumbstickDeadzone, (Address c, float deadzone), (c, deadzone))
    FAKE_QUERY(getThumbstickDeadzone, (Address, getThumbstickDeadzone_cb callback),
               (0.25F, succeeds))
    FAKE_COMMAND(resetThumbstickDeadzone, (Address c), (c))
    FAKE_COMMAND(sleepController, (Address c), (c))
    FAKE_COMMAND(wakeController, (Address c), (c))

    Led led{Hidl::ControllerHand::RIGHT, Hidl::LedPattern::BREATHE, 1, 2, 3, 4, 500};
};

class FakeControllerProvider : public RecordingService<Hidl::IControllerProvider> {
  public:
    using Blocklist = Hidl::ControllerWirelessFreqBlocklist;
    using Client = sp<Hidl::ISensorClient>;
    using Config = Hidl::FmqConfig;
    template <typename Record>
    using Queue = MQDescriptorSync<Record>;

    FAKE_QUERY(getPairedControllers, (getPairedControllers_cb callback), (paired))
    FAKE_COMMAND(setWirelessFreqBlocklist, (const Blocklist& list), (list))
    FAKE_QUERY(getWirelessFreqBlocklist, (getWirelessFreqBlocklist_cb callback),
               (Blocklist{0xF0}, succeeds))
    FAKE_COMMAND(clearWirelessFreqBlocklist, (), ())
    FAKE_QUERY(getHostInfo, (getHostInfo_cb callback), (host))
    FAKE_COMMAND(allowDevice, (const Hidl::SecureDeviceInfo& device), (device))
    Return<sp<Hidl::IControllerManagementClient>> getManagementClient() override {
        if (transportFails) return deadObject();
        return management;
    }
    Return<sp<Hidl::IControllerStreamingClient>> getStreamingClient() override {
        if (transportFails) return deadObject();
        return streaming;
    }

#define FAKE_PREPARE(method, Record) \
    FAKE_CONTROL(method, (const Queue<Hidl::Record>&, const Client&, const Config&), ())
    FAKE_PREPARE(prepareStateChangeStream, PairedControllerInfo)
    FAKE_PREPARE(prepareCurlStream, CurlData)
    FAKE_PREPARE(prepareImuStream, ControllerImuData)
    FAKE_PREPARE(prepareButtonStream, ButtonData)
    FAKE_PREPARE(preparePrecisionPadStream, PrecisionPadData)
    FAKE_PREPARE(prepareMultiTouchStream, MultiTouchData)
    FAKE_PREPARE(prepareStylusStream, StylusData)
    FAKE_PREPARE(prepareWirelessDeviceStatsStream, WirelessDeviceStats)
    FAKE_PREPARE(preparePoseInputStream, PoseInput)
    FAKE_PREPARE(prepareInputADCStream, ControllerInputADCData)
    FAKE_PREPARE(prepareCollisionEventStream, ControllerCollisionEvent)
#undef FAKE_PREPARE

    hidl_vec<Hidl::PairedControllerInfo> paired;
    Hidl::SecureHostInfo host{6, std::array<uint8_t, 16>{1, 2, 3}};
    sp<Hidl::IControllerManagementClient> management;
    sp<Hidl::IControllerStreamingClient> streaming;
};

class FakeControllerStateProvider : public RecordingService<Hidl::IControllerStateProvider> {
  public:
    using Client = const sp<Hidl::ISensorClient>&;
    using Command = Hidl::StreamCommand;

    FakeControllerStateProvider() {
        poseConfig.eventFlag = Vek::OS::createEventFlagHandle("pose");
        poseConfig.dataReadyBit = 1U << 5;
    }

#define FAKE_PREPARE(method, Record, end)                                                   \
    Return<Hidl::Result> method(const MQDescriptorSync<Hidl::Record>& queue, Client client, \
                                const Hidl::FmqConfig& config) override {                   \
        end.accept(queue, client, config);                                                  \
        return answer();                                                                    \
    }
    FAKE_PREPARE(prepareHapticsStateStream, HapticsState, haptics)
    FAKE_PREPARE(prepareWirelessStateTransitionStream, WirelessStateTransition, wireless)
    FAKE_PREPARE(prepareControllerInputStream, ControllerInputData, input)
#undef FAKE_PREPARE
    Return<void> preparePoseOutputStream(Client c, preparePoseOutputStream_cb callback) override {
        poseClient = c;
        return deliver(callback)(result, poseQueue, poseConfig);
    }
    // Whether the client is the one that prepared the stream is the first argument.
    FAKE_CONTROL(controlHapticsStateStream, (Client c, Command m), (c == haptics.client, m))
    FAKE_CONTROL(controlWirelessStateTransitionStream, (Client c, Command m),
                 (c == wireless.client, m))
    FAKE_CONTROL(controlControllerInputStream, (Client c, Command m), (c == input.client, m))
    FAKE_CONTROL(controlPoseOutputStream, (Client c, Command m), (c == poseClient, m))
    FAKE_COMMAND(notifyBatteryState, (uint8_t level), (level))
    FAKE_QUERY(enterPairingMode, (enterPairingMode_cb callback), (device.address))
    FAKE_QUERY(getPairingInfo, (getPairingInfo_cb callback), (device))
    FAKE_COMMAND(setPairingInfo, (const Hidl::SecureHostInfo& h, const hidl_vec<uint8_t>& k),
                 (h, k))
    FAKE_COMMAND(setKivrarEnabled, (bool enabled), (enabled))

    ServiceEnd<Hidl::HapticsState> haptics;
    ServiceEnd<Hidl::WirelessStateTransition> wireless;
    ServiceEnd<Hidl::ControllerInputData> input;
    sp<Hidl::ISensorClient> poseClient;
    /// Two records of room.
    ServiceEnd<Hidl::PoseOutput>::Queue poses{2};
    ServiceEnd<Hidl::PoseOutput>::Queue::Descriptor poseQueue{*poses.getDesc()};
    Hidl::FmqConfig poseConfig{};
    Hidl::SecureDeviceInfo device{{9}, 8, std::array<uint8_t, 16>{1, 2, 3}};
};

#undef FAKE_QUERY
#undef FAKE_CONTROL
#undef FAKE_COMMAND
#undef FAKE_VOID

}  // namespace TestSupport
