// Controller services in the test's own process.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerStateProvider.h>

#include "support/recording_service.h"

namespace TestSupport {

using Address = const Hidl::ControllerAddr&;

class FakeManagementClient : public RecordingService<Hidl::IControllerManagementClient> {
  public:
    FAKE_VOID(release, (), ())
    FAKE_QUERY(getAdvertisingControllers, (getAdvertisingControllers_cb callback),
               (hidl_vec<Hidl::AdvertisingControllerInfo>(2)))
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

    FAKE_QUERY(getPairedControllers, (getPairedControllers_cb callback), (paired))
    FAKE_COMMAND(setWirelessFreqBlocklist, (const Blocklist& list), (list))
    FAKE_QUERY(getWirelessFreqBlocklist, (getWirelessFreqBlocklist_cb callback),
               (Blocklist{0xF0}, succeeds))
    FAKE_COMMAND(clearWirelessFreqBlocklist, (), ())
    FAKE_QUERY(getHostInfo, (getHostInfo_cb callback), (host))
    FAKE_COMMAND(allowDevice, (const Hidl::SecureDeviceInfo& device), (device))
    FAKE_GETTER(sp<Hidl::IControllerManagementClient>, getManagementClient, (), nullptr)
    FAKE_GETTER(sp<Hidl::IControllerStreamingClient>, getStreamingClient, (), nullptr)

#define FAKE_PREPARE(method, Record) \
    FAKE_CONTROL(method, (const Queue<Hidl::Record>&, Client, const Config&), ())
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
};

class FakeControllerStateProvider : public RecordingService<Hidl::IControllerStateProvider> {
  public:
    FakeControllerStateProvider() {
        poseConfig.eventFlag = Vek::OS::createEventFlagHandle("pose");
        poseConfig.dataReadyBit = 1U << 5;
    }

    FAKE_STREAM(HapticsState, HapticsState, haptics)
    FAKE_STREAM(WirelessStateTransition, WirelessStateTransition, wireless)
    FAKE_STREAM(ControllerInput, ControllerInputData, input)
    Return<void> preparePoseOutputStream(Client c, preparePoseOutputStream_cb callback) override {
        poseClient = c;
        return deliver(callback)(result, poseQueue, poseConfig);
    }
    FAKE_CONTROL(controlPoseOutputStream, (Client c, Command m), (c == poseClient, m))
    FAKE_COMMAND(notifyBatteryState, (uint8_t level), (level))
    FAKE_QUERY(enterPairingMode, (enterPairingMode_cb callback), (device.address))
    FAKE_QUERY(getPairingInfo, (getPairingInfo_cb callback), (device))
    FAKE_COMMAND(setPairingInfo, (const Hidl::SecureHostInfo& h, const hidl_vec<uint8_t>& k),
                 (h, k))
    FAKE_COMMAND(setKivrarEnabled, (bool enabled), (enabled))

    sp<Hidl::ISensorClient> poseClient;
    /// Two records of room.
    ServiceEnd<Hidl::PoseOutput>::Queue poses{2};
    ServiceEnd<Hidl::PoseOutput>::Queue::Descriptor poseQueue{*poses.getDesc()};
    Hidl::FmqConfig poseConfig{};
    Hidl::SecureDeviceInfo device{{9}, 8, std::array<uint8_t, 16>{1, 2, 3}};
};

}  // namespace TestSupport
