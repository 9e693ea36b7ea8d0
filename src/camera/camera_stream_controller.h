// Exposure control of cameras over its HAL interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/camera.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraStreamController.h>

#include <cstdint>

#include "foundation/hal.h"

namespace Vek::Sensors::HidlWrapper {

class CameraStreamController : public ICameraStreamController {
  public:
    explicit CameraStreamController(
        gsl::not_null<android::sp<Hidl::ICameraStreamController>> controller);

    bool startOverridingExposureSettings() override;
    bool stopOverridingExposureSettings() override;
    bool setExposureGain(uint8_t slot, uint32_t frameSets, ExposureGainSettings settings) override;

  private:
    gsl::not_null<android::sp<Hidl::ICameraStreamController>> hal_;
};

}  // namespace Vek::Sensors::HidlWrapper
