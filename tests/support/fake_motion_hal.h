// Motion services in the test's own process.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IIad.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMag.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMotionSensorProvider.h>

#include "support/recording_service.h"

namespace TestSupport {

class FakeIad : public RecordingService<Hidl::IIad> {
  public:
    FAKE_STREAM(, IadData, end)
};

#define FAKE_CONFIGURABLE_SENSOR(Fake, HalInterface, Record)                                     \
    class Fake : public RecordingService<Hidl::HalInterface> {                                   \
      public:                                                                                    \
        FAKE_STREAM(, Record, end)                                                               \
        FAKE_CONTROL(configureStream, (const Hidl::MotionStreamProperties& p), (p))              \
        FAKE_QUERY(getProperties, (getProperties_cb callback),                                   \
                   (result, Hidl::MotionSensorProperties{"name", "vendor", "serial", "firmware", \
                                                         2000.0F}))                              \
    };
FAKE_CONFIGURABLE_SENSOR(FakeImu, IImu, ImuData)
FAKE_CONFIGURABLE_SENSOR(FakeMag, IMag, MagData)
#undef FAKE_CONFIGURABLE_SENSOR

class FakeMotionSensorProvider : public RecordingService<Hidl::IMotionSensorProvider> {
  public:
    FAKE_QUERY(getSensorInfo, (getSensorInfo_cb callback), (result, metadata))
    FAKE_GETTER(sp<Hidl::IImu>, getImu, (uint32_t sensor), sensor == 0 ? new FakeImu : nullptr)
    FAKE_GETTER(sp<Hidl::IMag>, getMag, (uint32_t sensor), sensor == 1 ? new FakeMag : nullptr)

    Hidl::MotionSensorMetadata metadata;
};

}  // namespace TestSupport
