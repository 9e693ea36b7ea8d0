#include "environment/environment_devices.h"

#include "environment/external_timing_model.h"
#include "environment/light_models.h"
#include "environment/room_light.h"
#include "registration.h"

namespace Simulator {

namespace {

constexpr SamplingPlan kBlockPlan{kBlockRate, 1};
constexpr SamplingPlan kAmbientLightPlan{10, 1};
constexpr SamplingPlan kPulsePlan{10, 1};

}  // namespace

EnvironmentDevices::EnvironmentDevices(const EnvironmentSettings& settings,
                                       const std::shared_ptr<Faults>& faults,
                                       const std::shared_ptr<ControllerFleet>& controllers,
                                       const std::shared_ptr<WorldClock>& clock)
    : lamps_(std::make_shared<RoomLight>(settings.flickerFrequency, settings.illuminance)),
      flicker_(new StreamServer<Hidl::FlickerData>("flicker sensor", kBlockPlan,
                                                   samplesOf(FlickerModel(lamps_)), faults, clock)),
      adcFlicker_(new StreamServer<Hidl::AdcFlickerData>(
          "flicker sensor's ADC", kBlockPlan, samplesOf(AdcFlickerModel(lamps_)), faults, clock)),
      ambientLight_(new StreamServer<Hidl::AmbientLightData>(
          "ambient-light sensor", kAmbientLightPlan, samplesOf(AmbientLightModel(lamps_)), faults,
          clock)),
      lightSensor_(makeService<FlickerService>(
          faults, FlickerStreams{flicker_, adcFlicker_, ambientLight_},
          Hidl::FlickerSensorProperties{"flicker sensor", "Zelvan", "SIM-0100"})),
      leds_(makeService<LedService>(faults)),
      externalTiming_(makeService<ExternalTimingService>(
          faults,
          new ExternalTimingService::Server("external clock", kPulsePlan,
                                            samplesOf(ExternalTimingModel()), faults, clock))),
      tambril_(makeService<TambrilService>(faults, settings, controllers, clock)) {}

std::string EnvironmentDevices::registerServices() {
    return registerAlone(lightSensor_, leds_, externalTiming_, tambril_);
}

void EnvironmentDevices::stop() {
    flicker_->stop();
    adcFlicker_->stop();
    ambientLight_->stop();
    externalTiming_->server().stop();
    tambril_->stop();
}

std::vector<std::string> EnvironmentDevices::summary() const {
    std::vector<std::string> lines{summaryOf(*flicker_), summaryOf(*adcFlicker_),
                                   summaryOf(*ambientLight_)};
    lines.push_back(summaryOf(externalTiming_->server()));
    lines.push_back(leds_->summary());
    lines.push_back(tambril_->summary());
    return lines;
}

}  // namespace Simulator
