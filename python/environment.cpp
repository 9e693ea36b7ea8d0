// Light sensor, external clocks, illuminators, KivraRpc messages. Refuses arguments for which the
// library would end the process.
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <cstdint>
#include <string>
#include <vector>

#include "areas.h"
#include "binding.h"
#include "callback.h"

using namespace Vek::Sensors;

namespace {

void requireClientId(const std::string& clientId) {
    if (clientId != "CMS" && clientId != "tracking") {
        throw py::value_error("the client '" + clientId + "'; it is \"CMS\" or \"tracking\"");
    }
}

}  // namespace

void defineEnvironment(py::module_& module) {
    Records::defineClasses<FlickerSensorProperties, FaceEyeTrackingLedConfiguration, KivraRpcHeader,
                           KivraRpcMessage>(module);

    using Light = IFlickerSensorProvider;
    Binding<Light>(module, "FlickerSensorProvider", "IFlickerSensorProvider")
        .method("properties", &Light::properties)
        .stream("flickerStream", &Light::flickerStream, &Light::flickerStart, &Light::flickerStop)
        .stream("adcFlickerStream", &Light::adcFlickerStream, &Light::adcFlickerStart,
                &Light::adcFlickerStop)
        .stream("ambientLightStream", &Light::ambientLightStream, &Light::ambientLightStart,
                &Light::ambientLightStop);
    defineFactory(module, "create_flicker_sensor", [] { return createFlickerSensor(nullptr); });

    using Timing = IExternalTimingProvider;
    Binding<Timing>(module, "ExternalTimingProvider", "IExternalTimingProvider")
        .stream("streamExternalTimestampData", &Timing::streamExternalTimestampData,
                &Timing::startExternalTimestampDataStream,
                &Timing::stopExternalTimestampDataStream);
    defineFactory(module, "create_external_timing_provider", createExternalTimingProvider);

    using Led = IFaceEyeTrackingLed;
    Binding<Led>(module, "FaceEyeTrackingLed", "IFaceEyeTrackingLed")
        .method("setConfigs", &Led::setConfigs)
        .method("enable", &Led::enable)
        .method("disable", &Led::disable)
        .method("getNumChannels", &Led::getNumChannels)
        .method("startOverridingLedSettings", &Led::startOverridingLedSettings)
        .method("stopOverridingLedSettings", &Led::stopOverridingLedSettings);
    defineFactory(module, "create_face_eye_tracking_led", createFaceEyeTrackingLed);

    using Messages = Binding<ITambStream>;
    Messages(module, "TambStream", "ITambStream")
        .function("registerKivraRpcClient",
                  [](const Remote<ITambStream>& self, const std::string& clientId,
                     const py::function& callback) {
                      requireClientId(clientId);
                      Messages::call(self, [clientId, callback = callbackOf<const KivraRpcMessage&>(
                                                          callback)](ITambStream& object) {
                          object.registerKivraRpcClient(clientId, callback);
                      });
                  })
        .function("unregisterKivraRpcClient",
                  [](const Remote<ITambStream>& self, const std::string& clientId) {
                      requireClientId(clientId);
                      Messages::call(self, [clientId](ITambStream& object) {
                          object.unregisterKivraRpcClient(clientId);
                      });
                  })
        .function("sendKivraRpcMsg",
                  [](const Remote<ITambStream>& self, ControllerAddr address, uint32_t procedure,
                     const std::vector<uint8_t>& payload) {
                      if (payload.size() > kKivraRpcMaxPayloadSize) {
                          throw py::value_error("a payload of " + std::to_string(payload.size()) +
                                                " bytes; 8192 at most");
                      }
                      return Messages::call(
                          self, [address, procedure, copy = std::vector<uint8_t>(payload)](
                                    ITambStream& object) mutable {
                              return object.sendKivraRpcMsg(address, procedure, copy);
                          });
                  })
        .method("getTimeTranslation", &ITambStream::getTimeTranslation);
    defineFactory(module, "create_tamb_stream", createTambStream);
}
