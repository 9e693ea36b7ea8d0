#include "headset.h"

#include <utility>

#include "camera/camera_devices.h"
#include "camera/world_images.h"
#include "controller/controller_devices.h"
#include "environment/environment_devices.h"
#include "motion/motion_devices.h"
#include "replay/played_cameras.h"
#include "replay/played_controllers.h"
#include "replay/played_sensors.h"

namespace Simulator {

Headset::Headset(const std::shared_ptr<Faults>& faults, const CameraSettings& cameras,
                 const ControllerSettings& controllers, const EnvironmentSettings& environment,
                 const std::shared_ptr<WorldClock>& clock,
                 const std::shared_ptr<const World>& world) {
    auto controllerDevices = std::make_unique<ControllerDevices>(controllers, faults, clock, world);
    auto surroundings = std::make_unique<EnvironmentDevices>(environment, faults,
                                                             controllerDevices->fleet(), clock);
    const auto images =
        std::make_shared<WorldImages>(cameras, world, surroundings->lamps(), surroundings->leds());
    groups_.push_back(std::make_unique<MotionDevices>(faults, clock, world));
    groups_.push_back(std::make_unique<CameraDevices>(cameraStreamPlans(), images, faults, clock));
    groups_.push_back(std::move(controllerDevices));
    groups_.push_back(std::move(surroundings));
}

Headset::Headset(const Playback& playback) {
    groups_.push_back(std::make_unique<PlayedSensors>(playback));
    groups_.push_back(std::make_unique<PlayedCameras>(playback));
    groups_.push_back(std::make_unique<PlayedControllers>(playback));
}

std::string Headset::registerServices() {
    for (const auto& group : groups_) {
        std::string problem = group->registerServices();
        if (!problem.empty()) {
            return problem;
        }
    }
    return "";
}

void Headset::stop() {
    for (const auto& group : groups_) {
        group->stop();
    }
}

std::vector<std::string> Headset::summary() const {
    std::vector<std::string> lines;
    for (const auto& group : groups_) {
        for (std::string& line : group->summary()) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

}  // namespace Simulator
