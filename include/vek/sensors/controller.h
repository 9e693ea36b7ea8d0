// Hand controllers, for the programs that use them: their streams, commands and pairing.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/controller_records.h>
#include <vek/sensors/stream.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Vek::Sensors {

/// Outcome of a management command. The value 3 is not in use.
enum class ControllerResult : int32_t {
    SUCCESS = 0,
    /// The service tried and failed.
    FAILURE = 1,
    /// The command is not possible in the controller's state, or could not be delivered.
    BAD_STATE = 2,
    /// The controller is already in the state that the command asks for.
    IGNORED = 4,
};

/// A controller's calibration, in the controller's own format.
struct ControllerCalibrationData {
    /// Of the format.
    uint16_t version{};
    std::string data;
};

enum class LedPattern : uint8_t {
    OFF = 0,
    STEADY = 1,
    BLINK = 2,
    BREATHE = 3,
};

/// The setting of one controller's light (8 bytes).
struct ControllerLedConfig {
    /// The hand of the controller that is set.
    ControllerHand hand;
    LedPattern pattern;
    uint8_t red;
    uint8_t green;
    uint8_t blue;
    /// Full scale is 255.
    uint8_t brightness;
    /// Period of the pattern, in ms.
    uint16_t period;
};

/// Readings of the thumbstick's converter at the ends of the thumbstick's travel (8 bytes).
struct ThumbstickADCRange {
    uint16_t minimumX;
    uint16_t maximumX;
    uint16_t minimumY;
    uint16_t maximumY;
};

/// One step of a haptic pattern (2 bytes).
struct SimpleHapticIntensity {
    /// Full scale is 255.
    uint8_t intensity;
    /// In units of 10 ms.
    uint8_t duration;
};

/// The radio channels that the controllers must not use (4 bytes).
struct ControllerWirelessFreqBlocklist {
    /// Bit i: channel i is not used. Channel i has the centre frequency 2404 + 2 i MHz at the
    /// simulated service, as in WirelessDeviceStats::frequency. A list of all 32 is refused.
    uint32_t channels;
};

/// Commands to the connected controllers.
///
/// The service checks the arguments; the library does not. If a call cannot be delivered, it ends
/// the process where its comment says so; the others return false or an empty optional, as if the
/// service had refused.
///
/// Threading: may be used from any thread. Destruction tells the service, and ends the process if
/// that cannot be delivered.
class IControllerStreamingClient {
  public:
    virtual ~IControllerStreamingClient() = default;

    /// Ends the process if it cannot be delivered.
    virtual ControllerCalibrationData getCalibrationData(ControllerAddr controller) = 0;

    /// Enables the samples of a controller in the streams of this process. This and the next two
    /// end the process if they cannot be delivered.
    virtual void enable(ControllerAddr controller) = 0;
    virtual void disable(ControllerAddr controller) = 0;
    virtual bool controlInputADCStreaming(ControllerAddr controller, bool enable) = 0;

    /// The record names the controller by its hand.
    virtual bool setLedConfig(const ControllerLedConfig& config) = 0;

    /// Ends the process if it cannot be delivered.
    /// @param config set to what the service answered, even if it answered failure.
    virtual bool getLedConfig(ControllerAddr controller, ControllerLedConfig& config) = 0;

    /// @param boost in dB.
    virtual bool setTransmitPowerBoost(int8_t boost) = 0;

    /// @param power in dBm.
    virtual bool setMaxHostTransmitPower(int8_t power) = 0;

    /// @name Haptics
    /// A controller plays one thing at a time: each command replaces what another kind of command
    /// plays. The figures given here are those of the simulated service, which takes sample rates
    /// of 0.001 to 8,000 Hz and buffers 4,096 samples, and answers false beyond them.
    /// @{

    /// Vibrates until the next command.
    /// @param intensity of the vibration; full scale is 255, 0 stops it.
    virtual bool setSimpleHaptics(ControllerAddr controller, uint8_t intensity) = 0;

    /// @param steps played once, one after another.
    virtual bool setSimpleHaptics(ControllerAddr controller,
                                  std::array<SimpleHapticIntensity, 6> steps) = 0;

    /// Replaces the buffered samples and plays them.
    /// @param sampleRate in Hz.
    /// @param repeat plays the buffer until it is replaced.
    /// @param samples `count` of them, copied; not read if `count` is 0. Each is an intensity of
    /// the vibration; full scale is 255.
    virtual bool setBufferedHaptics(ControllerAddr controller, double sampleRate, uint8_t count,
                                    bool repeat, const uint8_t* samples) = 0;

    /// Appends to the samples of setBufferedHaptics, at their rate; false without such a buffer.
    /// There is no gap as long as the buffer does not run empty.
    /// @param samples as in setBufferedHaptics.
    virtual bool appendBufferedHaptics(ControllerAddr controller, uint8_t count,
                                       const uint8_t* samples) = 0;

    /// Appends one frame to a waveform. The first frame after another kind of command begins a new
    /// one.
    /// @param samples at 2,000 Hz (a frame lasts 36 ms), copied. Each is an amplitude; full scale
    /// is 127.
    virtual bool appendPCMHaptics(ControllerAddr controller,
                                  gsl::span<const int8_t, 72> samples) = 0;
    /// @}

    /// Sets the converter readings at the ends of the thumbstick's travel;
    /// resetThumbstickMaxADCRange restores the controller's own.
    virtual bool setThumbstickMaxADCRange(ControllerAddr controller,
                                          const ThumbstickADCRange& range) = 0;
    virtual std::optional<ThumbstickADCRange> getThumbstickMaxADCRange(
        ControllerAddr controller) = 0;
    virtual bool resetThumbstickMaxADCRange(ControllerAddr controller) = 0;

    /// @param deadzone radius around the centre that reads as 0, 0 to 1.
    virtual bool setThumbstickDeadzone(ControllerAddr controller, float deadzone) = 0;
    virtual std::optional<float> getThumbstickDeadzone(ControllerAddr controller) = 0;
    virtual bool resetThumbstickDeadzone(ControllerAddr controller) = 0;

    /// sleepController and wakeController abort the process if they cannot be delivered, even if
    /// crash dumps are suppressed.
    virtual bool sleepController(ControllerAddr controller) = 0;
    virtual bool wakeController(ControllerAddr controller) = 0;
};

/// Finds, pairs and updates controllers.
///
/// Commands return the service's result, BAD_STATE if they cannot be delivered. Threading: may be
/// used from any thread. Destruction tells the service, and ends the process if that cannot be
/// delivered.
class IControllerManagementClient {
  public:
    /// How a firmware update reports its progress.
    struct FWUpdateCallbackConfig {
        /// Receives the progress, 0 to 1. Called on a HIDL thread of the process, at any time until
        /// the update has ended, even after the client that began it was destroyed. Must not be
        /// empty: a report would throw std::bad_function_call on that thread.
        std::function<void(float)> progress;
        /// Shortest time between two reports, in ns.
        int64_t minimumInterval{};
        /// Smallest progress between two reports, 0 to 1.
        float minimumStep{};
    };

    virtual ~IControllerManagementClient() = default;

    /// The controllers that offer themselves for pairing now. Ends the process if it cannot be
    /// delivered.
    virtual std::vector<AdvertisingControllerInfo> getAdvertisingControllers() = 0;

    /// Switches a controller into its DMM mode and out of it. What the controller does in that mode
    /// is up to its firmware; this API only shows CONTROLLER_FEATURE_DMM in
    /// PairedControllerInfo::features. BAD_STATE if the controller is in the mode asked for, is
    /// being updated, or is not connected.
    virtual ControllerResult enterDMM(ControllerAddr controller) = 0;
    virtual ControllerResult exitDMM(ControllerAddr controller) = 0;
    virtual ControllerResult pairController(ControllerAddr controller) = 0;
    virtual ControllerResult unpairController(ControllerAddr controller) = 0;

    /// Begins an update and returns. When the update ends, IControllerProvider::streamStateChanges
    /// delivers a record without CONTROLLER_FEATURE_UPDATING, with a new firmwareVersion if the
    /// update has succeeded. A progress of 1 is reported only by an update that succeeds; one that
    /// fails stops reporting.
    virtual ControllerResult updateFirmware(ControllerAddr controller, ControllerType type,
                                            FWUpdateCallbackConfig config) = 0;
};

/// The hand controllers; implemented by HidlWrapper::ControllerProvider.
///
/// The caller owns a stream; it starts when it is added to a composite, and each call makes a new
/// one. A controller delivers samples after IControllerStreamingClient::enable was called for it.
/// Streams and clients may outlive the provider.
///
/// Calls end the process if they cannot be delivered, except setWirelessFreqBlocklist,
/// clearWirelessFreqBlocklist and allowDevice: these return false, as if the service had refused.
///
/// Threading: may be used from any thread; a stream as IDataStream says.
class IControllerProvider {
  public:
    virtual ~IControllerProvider() = default;

    /// A record for each change of a paired controller's state.
    virtual std::unique_ptr<IDataStream<PairedControllerInfo>> streamStateChanges() = 0;
    virtual std::unique_ptr<IDataStream<CurlData>> streamCurl() = 0;
    virtual std::unique_ptr<IDataStream<ControllerImuData>> streamImu() = 0;
    virtual std::unique_ptr<IDataStream<ButtonData>> streamInput() = 0;
    virtual std::unique_ptr<IDataStream<PrecisionPadData>> streamPrecisionPad() = 0;
    virtual std::unique_ptr<IDataStream<MultiTouchData>> streamMultiTouch() = 0;
    virtual std::unique_ptr<IDataStream<StylusData>> streamStylus() = 0;
    virtual std::unique_ptr<IDataStream<WirelessDeviceStats>> streamWirelessDeviceStats() = 0;
    virtual std::unique_ptr<IDataStream<PoseInput>> streamPose() = 0;
    /// Flows while IControllerStreamingClient::controlInputADCStreaming has it on.
    virtual std::unique_ptr<IDataStream<ControllerInputADCData>> streamInputADC() = 0;
    virtual std::unique_ptr<IDataStream<ControllerCollisionEvent>> streamCollisionEvent() = 0;

    /// @return empty if the service returns none.
    virtual std::unique_ptr<IControllerManagementClient> getManagementClient() = 0;

    /// Never empty: if the service returns none, a contract failure ends the process.
    virtual std::unique_ptr<IControllerStreamingClient> getStreamingClient() = 0;

    virtual std::vector<PairedControllerInfo> getPairedControllers() = 0;

    virtual bool setWirelessFreqBlocklist(const ControllerWirelessFreqBlocklist& blocklist) = 0;

    /// @param blocklist set to what the service answered, even if it answered failure.
    virtual bool getWirelessFreqBlocklist(ControllerWirelessFreqBlocklist& blocklist) = 0;

    virtual bool clearWirelessFreqBlocklist() = 0;

    virtual SecureHostInfo getHostInfo() = 0;

    /// Allows a device to connect that was paired elsewhere.
    virtual bool allowDevice(SecureDeviceInfo device) = 0;
};

}  // namespace Vek::Sensors
