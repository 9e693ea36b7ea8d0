// IMU, magnetometer and IAD sensor over their HAL interfaces.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/motion.h>
#include <vendor/zelvan/hardware/sensors/1.0/IIad.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMag.h>

#include <memory>

#include "foundation/hal_death_recipient.h"
#include "stream/stream_handle.h"

namespace Vek::Sensors::HidlWrapper {

/// Destroying a sensor does not stop its stream at the service.
class ImuSensor : public IImuSensor {
  public:
    explicit ImuSensor(gsl::not_null<android::sp<Hidl::IImu>> hal);

    MotionSensorProperties props() override;
    IDataStream<ImuData>& stream() override;
    void start() override;
    void stop() override;
    void configureStream(const MotionStreamProperties& properties) override;

  private:
    gsl::not_null<android::sp<Hidl::IImu>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
    StreamHandle<ImuData, Hidl::ImuData> stream_;
};

class MagSensor : public IMagSensor {
  public:
    explicit MagSensor(gsl::not_null<android::sp<Hidl::IMag>> hal);

    MotionSensorProperties props() override;
    IDataStream<MagData>& stream() override;
    void start() override;
    void stop() override;
    void configureStream(const MotionStreamProperties& properties) override;

  private:
    gsl::not_null<android::sp<Hidl::IMag>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
    StreamHandle<MagData, Hidl::MagData> stream_;
};

class IadSensor : public IIadSensor {
  public:
    explicit IadSensor(gsl::not_null<android::sp<Hidl::IIad>> hal);

    float range() override;
    IDataStream<IadData>& stream() override;
    void start() override;
    void stop() override;

  private:
    gsl::not_null<android::sp<Hidl::IIad>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
    StreamHandle<IadData, Hidl::IadData> stream_;
};

}  // namespace Vek::Sensors::HidlWrapper
