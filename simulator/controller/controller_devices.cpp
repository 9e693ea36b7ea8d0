// See controller_devices.h.
#include "controller/controller_devices.h"

#include "controller/provider_service.h"
#include "controller/state_provider_service.h"
#include "registration.h"

namespace Simulator {

ControllerDevices::ControllerDevices(const ControllerSettings& settings,
                                     const std::shared_ptr<Faults>& faults)
    : faults_(faults),
      fleet_(std::make_shared<ControllerFleet>(settings, faults)),
      poses_(std::make_shared<PoseReceiver>(fleet_)) {}

std::string ControllerDevices::registerServices() {
    const std::string problem =
        registerAlone<Hal::IControllerProvider>(new ControllerProviderService(fleet_, faults_));
    return problem.empty() ? registerAlone<Hal::IControllerStateProvider>(
                                 new ControllerStateProviderService(fleet_, poses_, faults_))
                           : problem;
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
