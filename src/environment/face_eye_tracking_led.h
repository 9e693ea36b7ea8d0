// The illuminators of face and eye tracking over their HAL interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/face_eye_tracking_led.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFaceEyeTrackingLed.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/hal_death_recipient.h"
#include "foundation/sensor_client.h"

namespace Vek::Sensors::HidlWrapper {

class FaceEyeTrackingLed : public IFaceEyeTrackingLed {
  public:
    /// Binds to the running service. Ends the process with a contract failure if there is none.
    FaceEyeTrackingLed();

    bool setConfigs(std::vector<FaceEyeTrackingLedConfiguration> configurations) override;
    bool enable() override;
    bool disable() override;
    uint8_t getNumChannels(FaceEyeTrackingLedGroup group) override;
    bool startOverridingLedSettings() override;
    bool stopOverridingLedSettings() override;

  private:
    gsl::not_null<android::sp<Hidl::IFaceEyeTrackingLed>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
    /// Identifies this object's override to the service.
    android::sp<SensorClient> sensorClient_;
};

}  // namespace Vek::Sensors::HidlWrapper
