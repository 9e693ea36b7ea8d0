// See environment_devices.h.
#include "environment/environment_devices.h"

#include "environment/external_timing_model.h"
#include "environment/room_light.h"
#include "registration.h"

namespace Simulator {

namespace {

constexpr SamplingPlan kPulsePlan{10, 1};

}  // namespace

EnvironmentDevices::EnvironmentDevices(const EnvironmentSettings& settings,
                                       const std::shared_ptr<Faults>& faults,
                                       const std::shared_ptr<ControllerFleet>& controllers,
                                       const std::shared_ptr<WorldClock>& clock)
    : flicker_(makeService<FlickerService>(
          faults, std::make_shared<RoomLight>(settings.flickerFrequency, settings.illuminance),
          faults, clock)),
      leds_(makeService<LedService>(faults)),
      externalTiming_(makeService<ExternalTimingService>(
          faults,
          new ExternalTimingService::Server("external clock", kPulsePlan,
                                            samplesOf(ExternalTimingModel()), faults, clock))),
      tambril_(makeService<TambrilService>(faults, settings, controllers, clock)) {}

std::string EnvironmentDevices::registerServices() {
    return registerAlone(flicker_, leds_, externalTiming_, tambril_);
}

void EnvironmentDevices::stop() {
    flicker_->stop();
    externalTiming_->server().stop();
    tambril_->stop();
}

std::vector<std::string> EnvironmentDevices::summary() const {
    std::vector<std::string> lines = flicker_->summary();
    lines.push_back(summaryOf(externalTiming_->server()));
    lines.push_back(leds_->summary());
    lines.push_back(tambril_->summary());
    return lines;
}

}  // namespace Simulator
