#include "controller/controller_devices.h"

#include "controller/provider_service.h"
#include "controller/state_provider_service.h"
#include "registration.h"

namespace Simulator {

ControllerDevices::ControllerDevices(const ControllerSettings& settings,
                                     const std::shared_ptr<Faults>& faults,
                                     const std::shared_ptr<WorldClock>& clock,
                                     const std::shared_ptr<const World>& world)
    : faults_(faults),
      fleet_(std::make_shared<ControllerFleet>(settings, faults, clock, world)),
      poses_(new PoseReceiver(fleet_)) {}

std::string ControllerDevices::registerServices() {
    const android::sp<ControllerProviderService> provider =
        makeService<ControllerProviderService>(faults_, fleet_, faults_);
    const android::sp<ControllerStateProviderService> stateProvider =
        makeService<ControllerStateProviderService>(faults_, fleet_, poses_);
    return registerAlone(provider, stateProvider);
}

void ControllerDevices::stop() {
    poses_->stop();
    fleet_->stop();
}

std::vector<std::string> ControllerDevices::summary() const {
    std::vector<std::string> lines = fleet_->summary();
    lines.push_back(poses_->summary());
    return lines;
}

}  // namespace Simulator
