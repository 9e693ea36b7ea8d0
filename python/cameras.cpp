// Cameras: their streams, their exposure and the settings that all of them share.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "areas.h"
#include "binding.h"
#include "callback.h"
#include "frame_stream.h"

using namespace Vek::Sensors;

namespace {

using Camera = Remote<ICameraStream>;

ExposureGainSettings settingsOf(const std::vector<ExposureGain>& cameras) {
    if (cameras.size() > kMaxFrameSetSize) {
        throw py::value_error("settings for " + std::to_string(cameras.size()) + " cameras; " +
                              std::to_string(kMaxFrameSetSize) + " at most");
    }
    ExposureGainSettings settings{};
    settings.numCameras = static_cast<uint32_t>(cameras.size());
    std::copy(cameras.begin(), cameras.end(), settings.cameras.begin());
    return settings;
}

/// Raises an error unless the stream was added: otherwise the service refuses, which would end the
/// interpreter.
void requireAdded(const Camera& self) {
    if (self.streams.empty() || self.streams.begin()->second->owner == nullptr) {
        throw std::runtime_error("add the stream to a Composite first");
    }
}

void defineStream(py::module_& module) {
    using Api = ICameraStream;
    using Stream = Binding<Api>;
    Stream(module, "CameraStream", "ICameraStreamBase")
        .function(
            "stream",
            [](Camera& self) {
                Service::requireAlive(self.life);
                std::shared_ptr<::Stream>& known = self.streams[self.object.get()];
                if (known == nullptr) {
                    known = std::make_shared<FrameStream>(self.life, self.object);
                }
                return known;
            },
            "",
            "The frame sets, each a batch of its own; always the same object. The service "
            "has few\nplaces for clients of a stream: leave `with` when you are done.")
        .method("getConfiguration", &Api::getConfiguration)
        .function("startOverridingExposureSettings",
                  [](const Camera& self) {
                      requireAdded(self);
                      Stream::call(self,
                                   [](Api& object) { object.startOverridingExposureSettings(); });
                  })
        .method("stopOverridingExposureSettings", &Api::stopOverridingExposureSettings)
        .function("registerFrameSetConfigurationUpdateCallback",
                  [](const Camera& self, const py::function& callback) {
                      requireAdded(self);
                      return Stream::call(
                          self, [function = callbackOf<const FrameSetConfigurationUpdate&>(
                                     callback)](Api& object) {
                              return object.registerFrameSetConfigurationUpdateCallback(function);
                          });
                  })
        .function(
            "setExposureGain",
            [](const Camera& self, const std::vector<ExposureGain>& cameras) {
                Stream::call(self, [settings = settingsOf(cameras)](Api& object) {
                    object.setExposureGain(settings);
                });
            },
            "cameras")
        .method("setPhaseOffset", &Api::setPhaseOffset)
        .method("setCameraSyncMode", &Api::setCameraSyncMode)
        .function(
            "writeSessionOcalData",
            [](const Camera& self, const std::string& name, const std::vector<uint8_t>& data) {
                Stream::call(
                    self, [name, data](Api& object) { object.writeSessionOcalData(name, data); });
            })
        .method("setResolution", &Api::setResolution);
}

void defineStreamController(py::module_& module) {
    using Api = ICameraStreamController;
    using Controller = Binding<Api>;
    Controller(module, "CameraStreamController", "ICameraStreamController")
        .method("startOverridingExposureSettings", &Api::startOverridingExposureSettings)
        .method("stopOverridingExposureSettings", &Api::stopOverridingExposureSettings)
        .function(
            "setExposureGain",
            [](const Remote<Api>& self, uint8_t slot, uint32_t frameSets,
               const std::vector<ExposureGain>& cameras) {
                return Controller::call(
                    self, [slot, frameSets, settings = settingsOf(cameras)](Api& object) {
                        return object.setExposureGain(slot, frameSets, settings);
                    });
            },
            "slot,frame_sets,cameras");
}

void defineProvider(py::module_& module) {
    using Api = ICameraProvider;
    Binding<Api>(module, "CameraProvider", "ICameraProvider")
        .method("getProperties", &Api::getProperties)
        .method("getStream", &Api::getStream)
        .method("getStreamByPurpose", &Api::getStreamByPurpose)
        .method("getStreamController", &Api::getStreamController)
        .method("getUtilityFrequency", &Api::getUtilityFrequency)
        .method("setUtilityFrequency", &Api::setUtilityFrequency)
        .method("getChannels", &Api::getChannels)
        .method("setChannels", &Api::setChannels)
        .method("applyMuxMode", &Api::applyMuxMode)
        .method("setFrameRate", &Api::setFrameRate)
        .method("getRawImageMode", &Api::getRawImageMode);
    defineFactory(module, "create_camera_provider", createCameraProvider);
}

}  // namespace

void defineCameras(py::module_& module) {
    Records::defineClasses<CameraProperties, ChannelSettings, FrameRateSettings, ExposureGain,
                           CameraConfiguration, CameraStreamConfiguration,
                           CameraGlobalConfiguration, CameraPerSlotConfiguration, SlotConfiguration,
                           PurposeData, MuxMode, FrameSetConfigurationUpdate>(module);
    defineFrameSet(module);
    defineStream(module);
    defineStreamController(module);
    defineProvider(module);
}
