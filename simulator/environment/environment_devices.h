// The devices around the headset's optics and radio, and the services that offer them: the light
// sensor, the LEDs, external timing, KivraRpc.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IExternalTimingProvider.h>

#include <memory>
#include <string>
#include <vector>

#include "device_group.h"
#include "environment/environment_settings.h"
#include "environment/flicker_service.h"
#include "environment/led_service.h"
#include "environment/room_light.h"
#include "environment/tambril_service.h"
#include "faults.h"
#include "stream_service.h"

namespace Simulator {

using ExternalTimingService =
    StreamService<Hidl::IExternalTimingProvider, Hidl::ExternalTimestampData>;

class EnvironmentDevices : public DeviceGroup {
  public:
    EnvironmentDevices(const EnvironmentSettings& settings, const std::shared_ptr<Faults>& faults,
                       const std::shared_ptr<ControllerFleet>& controllers,
                       const std::shared_ptr<WorldClock>& clock);

    std::string registerServices() override;
    void stop() override;
    std::vector<std::string> summary() const override;

    const std::shared_ptr<const RoomLight>& lamps() const { return lamps_; }
    const android::sp<LedService>& leds() const { return leds_; }

  private:
    const std::shared_ptr<const RoomLight> lamps_;
    const android::sp<StreamServer<Hidl::FlickerData>> flicker_;
    const android::sp<StreamServer<Hidl::AdcFlickerData>> adcFlicker_;
    const android::sp<StreamServer<Hidl::AmbientLightData>> ambientLight_;
    const android::sp<FlickerService> lightSensor_;
    const android::sp<LedService> leds_;
    const android::sp<ExternalTimingService> externalTiming_;
    const android::sp<TambrilService> tambril_;
};

}  // namespace Simulator
