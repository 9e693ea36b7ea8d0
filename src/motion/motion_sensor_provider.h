// The list of motion sensors, over the HAL's provider interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/motion.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMotionSensorProvider.h>

#include <cstdint>
#include <memory>

#include "foundation/hal.h"
#include "foundation/hal_death_recipient.h"
#include "os/mutex.h"

namespace Vek::Sensors::HidlWrapper {

/// Becomes dead when its service dies. The mutex separates the death, which arrives on a HIDL
/// thread, from the client's calls; it is held for a whole call.
class MotionSensorProvider : public IMotionSensorProvider {
  public:
    explicit MotionSensorProvider(gsl::not_null<android::sp<Hidl::IMotionSensorProvider>> hal);
    ~MotionSensorProvider() override;

    // The death recipient's handler holds its address.
    MotionSensorProvider(const MotionSensorProvider&) = delete;
    MotionSensorProvider& operator=(const MotionSensorProvider&) = delete;

    MotionSensorMetadata getSensorInfo() override;
    std::unique_ptr<IImuSensor> getImu(uint32_t sensor) override;
    std::unique_ptr<IMagSensor> getMag(uint32_t sensor) override;

    /// Drops the service. Called when it has died.
    void onDisconnect();

  private:
    OS::Mutex mutex_;
    /// Null once the service has died.
    android::sp<Hidl::IMotionSensorProvider> hal_ VEK_GUARDED_BY(mutex_);
    std::unique_ptr<HalDeathRecipient> deathRecipient_ VEK_GUARDED_BY(mutex_);
};

}  // namespace Vek::Sensors::HidlWrapper
