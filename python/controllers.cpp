// Both sides of the controllers: of those who use them, and of the one who owns their state.
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "areas.h"
#include "binding.h"
#include "callback.h"

using namespace Vek::Sensors;

namespace {

/// The provider's constructor ends the process if there is no service. One process offers this
/// service and that of the controllers' state, so check the latter, whose factory returns null.
std::unique_ptr<IControllerProvider> createControllerProvider() {
    if (createControllerStateProvider() == nullptr) {
        return nullptr;
    }
    return std::make_unique<HidlWrapper::ControllerProvider>();
}

/// The value that a call stores in its last argument; empty if the call failed.
template <typename Value, typename Api, typename... Arguments>
auto answerOf(bool (Api::*method)(Arguments..., Value&)) {
    return [method](const Remote<Api>& self, Arguments... arguments) {
        return Binding<Api>::call(self, [method, arguments...](Api& object) {
            Value value{};
            return (object.*method)(arguments..., value) ? std::optional<Value>(value)
                                                         : std::nullopt;
        });
    };
}

/// Accepts only arrays of this type, because other numbers might not fit.
template <typename Sample>
using Samples = py::array_t<Sample, py::array::c_style>;

/// @param most maximum number of values of a call
template <typename Sample>
std::vector<Sample> valuesOf(const Samples<Sample>& samples, size_t least, size_t most) {
    const auto count = static_cast<size_t>(samples.size());
    if (samples.ndim() != 1 || count < least || count > most) {
        throw py::value_error(std::string("the samples are not an array of ") +
                              (least == most ? "" : "at most ") + std::to_string(most));
    }
    return {samples.data(), samples.data() + count};
}

constexpr size_t kMostBufferedSamples = UINT8_MAX;
constexpr size_t kPcmFrame = 72;

void defineProvider(py::module_& module) {
    using Api = IControllerProvider;
    Binding<Api>(module, "ControllerProvider", "IControllerProvider")
        .method("streamStateChanges", &Api::streamStateChanges)
        .method("streamCurl", &Api::streamCurl)
        .method("streamImu", &Api::streamImu)
        .method("streamInput", &Api::streamInput)
        .method("streamPrecisionPad", &Api::streamPrecisionPad)
        .method("streamMultiTouch", &Api::streamMultiTouch)
        .method("streamStylus", &Api::streamStylus)
        .method("streamWirelessDeviceStats", &Api::streamWirelessDeviceStats)
        .method("streamPose", &Api::streamPose)
        .method("streamInputADC", &Api::streamInputADC)
        .method("streamCollisionEvent", &Api::streamCollisionEvent)
        .method("getManagementClient", &Api::getManagementClient)
        .method("getStreamingClient", &Api::getStreamingClient)
        .method("getPairedControllers", &Api::getPairedControllers)
        .method("setWirelessFreqBlocklist", &Api::setWirelessFreqBlocklist)
        .function("getWirelessFreqBlocklist",
                  answerOf<ControllerWirelessFreqBlocklist>(&Api::getWirelessFreqBlocklist), "")
        .method("clearWirelessFreqBlocklist", &Api::clearWirelessFreqBlocklist)
        .method("getHostInfo", &Api::getHostInfo)
        .method("allowDevice", &Api::allowDevice);
    defineFactory(module, "create_controller_provider", createControllerProvider);
}

void defineStreamingClient(py::module_& module) {
    using Api = IControllerStreamingClient;
    using Client = Binding<Api>;
    Client(module, "ControllerStreamingClient", "IControllerStreamingClient")
        .method("getCalibrationData", &Api::getCalibrationData)
        .method("enable", &Api::enable)
        .method("disable", &Api::disable)
        .method("controlInputADCStreaming", &Api::controlInputADCStreaming)
        .method("setLedConfig", &Api::setLedConfig)
        .function("getLedConfig",
                  answerOf<ControllerLedConfig, Api, ControllerAddr>(&Api::getLedConfig),
                  "controller")
        .method("setTransmitPowerBoost", &Api::setTransmitPowerBoost)
        .method("setMaxHostTransmitPower", &Api::setMaxHostTransmitPower)
        .method("setSimpleHaptics",
                static_cast<bool (Api::*)(ControllerAddr, uint8_t)>(&Api::setSimpleHaptics),
                "controller,intensity")
        .method("setSimpleHaptics",
                static_cast<bool (Api::*)(ControllerAddr, std::array<SimpleHapticIntensity, 6>)>(
                    &Api::setSimpleHaptics),
                "controller,steps")
        .function(
            "setBufferedHaptics",
            [](const Remote<Api>& self, ControllerAddr controller, double sampleRate, bool repeat,
               const Samples<uint8_t>& samples) {
                return Client::call(
                    self, [controller, sampleRate, repeat,
                           values = valuesOf(samples, 0, kMostBufferedSamples)](Api& object) {
                        return object.setBufferedHaptics(controller, sampleRate,
                                                         static_cast<uint8_t>(values.size()),
                                                         repeat, values.data());
                    });
            },
            "controller,sample_rate,repeat,samples")
        .function(
            "appendBufferedHaptics",
            [](const Remote<Api>& self, ControllerAddr controller,
               const Samples<uint8_t>& samples) {
                return Client::call(
                    self,
                    [controller, values = valuesOf(samples, 0, kMostBufferedSamples)](Api& object) {
                        return object.appendBufferedHaptics(
                            controller, static_cast<uint8_t>(values.size()), values.data());
                    });
            },
            "controller,samples")
        .function(
            "appendPCMHaptics",
            [](const Remote<Api>& self, ControllerAddr controller, const Samples<int8_t>& samples) {
                return Client::call(self, [controller, values = valuesOf(samples, kPcmFrame,
                                                                         kPcmFrame)](Api& object) {
                    return object.appendPCMHaptics(
                        controller, gsl::span<const int8_t, kPcmFrame>(values.data(), kPcmFrame));
                });
            })
        .method("setThumbstickMaxADCRange", &Api::setThumbstickMaxADCRange)
        .method("getThumbstickMaxADCRange", &Api::getThumbstickMaxADCRange)
        .method("resetThumbstickMaxADCRange", &Api::resetThumbstickMaxADCRange)
        .method("setThumbstickDeadzone", &Api::setThumbstickDeadzone)
        .method("getThumbstickDeadzone", &Api::getThumbstickDeadzone)
        .method("resetThumbstickDeadzone", &Api::resetThumbstickDeadzone)
        .method("sleepController", &Api::sleepController)
        .method("wakeController", &Api::wakeController);
}

void defineManagementClient(py::module_& module) {
    using Api = IControllerManagementClient;
    using Client = Binding<Api>;
    Client(module, "ControllerManagementClient", "IControllerManagementClient")
        .method("getAdvertisingControllers", &Api::getAdvertisingControllers)
        .method("enterDMM", &Api::enterDMM)
        .method("exitDMM", &Api::exitDMM)
        .method("pairController", &Api::pairController)
        .method("unpairController", &Api::unpairController)
        .function(
            "updateFirmware",
            [](const Remote<Api>& self, ControllerAddr controller, ControllerType type,
               const py::function& progress, int64_t minimumInterval, float minimumStep) {
                return Client::call(self, [controller, type,
                                           config = Api::FWUpdateCallbackConfig{
                                               callbackOf<float>(progress), minimumInterval,
                                               minimumStep}](Api& object) {
                    return object.updateFirmware(controller, type, config);
                });
            },
            "controller,type,progress,minimum_interval,minimum_step");
}

void defineStateProvider(py::module_& module) {
    using Api = IControllerStateProvider;
    using Provider = Binding<Api>;
    Provider(module, "ControllerStateProvider", "IControllerStateProvider")
        .stream("streamHapticsState", &Api::streamHapticsState, &Api::startHapticsStateStream,
                &Api::stopHapticsStateStream)
        .stream("streamWirelessStateTransition", &Api::streamWirelessStateTransition,
                &Api::startWirelessStateTransitionStream, &Api::stopWirelessStateTransitionStream)
        .stream("streamControllerInputData", &Api::streamControllerInputData,
                &Api::startControllerInputDataStream, &Api::stopControllerInputDataStream)
        .method("preparePoseOutputStream", &Api::preparePoseOutputStream)
        .method("startPoseOutputStream", &Api::startPoseOutputStream)
        .method("stopPoseOutputStream", &Api::stopPoseOutputStream)
        .function("sendPose",
                  // Runs on this thread, because it only writes into a queue and never waits.
                  [](const Remote<Api>& self, const PoseOutput& pose) {
                      Service::requireAlive(self.life);
                      return self.object->sendPose(pose);
                  })
        .method("notifyBatteryState", &Api::notifyBatteryState)
        .method("enterPairingMode", &Api::enterPairingMode)
        .method("getPairingInfo", &Api::getPairingInfo)
        .function("setPairingInfo",
                  [](const Remote<Api>& self, const SecureHostInfo& host,
                     const std::array<uint8_t, 16>& key) {
                      return Provider::call(self, [host, key](Api& object) {
                          return object.setPairingInfo(host, key.data());
                      });
                  })
        .method("setKivrarEnabled", &Api::setKivrarEnabled);
    defineFactory(module, "create_controller_state_provider", createControllerStateProvider);
}

}  // namespace

void defineControllers(py::module_& module) {
    Records::defineClasses<ControllerCalibrationData, ControllerLedConfig, ThumbstickADCRange,
                           SimpleHapticIntensity, ControllerWirelessFreqBlocklist,
                           PairedControllerInfo, AdvertisingControllerInfo, SecureHostInfo,
                           SecureDeviceInfo, PoseOutput>(module);
    defineStreamingClient(module);
    defineManagementClient(module);
    defineProvider(module);
    defineStateProvider(module);
}
