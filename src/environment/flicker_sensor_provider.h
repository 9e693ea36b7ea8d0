// The light sensor's three streams over its HAL interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/flicker.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <memory>

#include "foundation/hal_death_recipient.h"
#include "stream/stream_handle.h"

namespace Vek::Sensors::HidlWrapper {

class FlickerSensorProvider : public IFlickerSensorProvider {
  public:
    explicit FlickerSensorProvider(gsl::not_null<android::sp<Hidl::IFlickerSensor>> hal);

    void flickerStart() override;
    void flickerStop() override;
    IDataStream<FlickerData>& flickerStream() override;
    void adcFlickerStart() override;
    void adcFlickerStop() override;
    IDataStream<AdcFlickerData>& adcFlickerStream() override;
    void ambientLightStart() override;
    void ambientLightStop() override;
    IDataStream<AmbientLightData>& ambientLightStream() override;
    FlickerSensorProperties properties() override;

  private:
    gsl::not_null<android::sp<Hidl::IFlickerSensor>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
    StreamHandle<FlickerData, Hidl::FlickerData> flickerStream_;
    StreamHandle<AdcFlickerData, Hidl::AdcFlickerData> adcFlickerStream_;
    StreamHandle<AmbientLightData, Hidl::AmbientLightData> ambientLightStream_;
};

}  // namespace Vek::Sensors::HidlWrapper
