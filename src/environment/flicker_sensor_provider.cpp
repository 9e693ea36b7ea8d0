// The control calls of the light sensor. Records go through stream/stream_handle.h.
#include "environment/flicker_sensor_provider.h"

#include <utility>

#include "os/bind_receiver.h"

namespace Vek::Sensors::HidlWrapper {

FlickerSensorProvider::FlickerSensorProvider(gsl::not_null<android::sp<Hidl::IFlickerSensor>> hal)
    : hal_(std::move(hal)),
      deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())),
      flickerStream_(OS::BindReceiver(hal_.get(), &Hidl::IFlickerSensor::prepareFlickerStream)),
      adcFlickerStream_(
          OS::BindReceiver(hal_.get(), &Hidl::IFlickerSensor::prepareAdcFlickerStream)),
      ambientLightStream_(
          OS::BindReceiver(hal_.get(), &Hidl::IFlickerSensor::prepareAmbientLightStream)) {}

// The start texts say "data stream", the stop texts do not: the system's tools look for both.
void FlickerSensorProvider::flickerStart() {
    const android::sp<Hidl::IFlickerSensor> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlFlickerStream(flickerStream_.client(), Hidl::StreamCommand::START),
        "Start flicker data stream command failed with result: %d");
}

void FlickerSensorProvider::flickerStop() {
    const android::sp<Hidl::IFlickerSensor> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlFlickerStream(flickerStream_.client(), Hidl::StreamCommand::STOP),
        "Stop flicker stream command failed with result: %d");
}

IDataStream<FlickerData>& FlickerSensorProvider::flickerStream() {
    return flickerStream_;
}

void FlickerSensorProvider::adcFlickerStart() {
    const android::sp<Hidl::IFlickerSensor> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlAdcFlickerStream(adcFlickerStream_.client(), Hidl::StreamCommand::START),
        "Start ADC flicker data stream command failed with result: %d");
}

void FlickerSensorProvider::adcFlickerStop() {
    const android::sp<Hidl::IFlickerSensor> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlAdcFlickerStream(adcFlickerStream_.client(), Hidl::StreamCommand::STOP),
        "Stop ADC flicker stream command failed with result: %d");
}

IDataStream<AdcFlickerData>& FlickerSensorProvider::adcFlickerStream() {
    return adcFlickerStream_;
}

void FlickerSensorProvider::ambientLightStart() {
    const android::sp<Hidl::IFlickerSensor> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlAmbientLightStream(ambientLightStream_.client(), Hidl::StreamCommand::START),
        "Start ambient light data stream command failed with result: %d");
}

void FlickerSensorProvider::ambientLightStop() {
    const android::sp<Hidl::IFlickerSensor> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlAmbientLightStream(ambientLightStream_.client(), Hidl::StreamCommand::STOP),
        "Stop ambient light stream command failed with result: %d");
}

IDataStream<AmbientLightData>& FlickerSensorProvider::ambientLightStream() {
    return ambientLightStream_;
}

FlickerSensorProperties FlickerSensorProvider::properties() {
    FlickerSensorProperties properties;
    const android::sp<Hidl::IFlickerSensor> hal = hal_.get();
    checkTransport(hal->getProperties([&properties](const Hidl::FlickerSensorProperties& answer) {
        properties = {answer.name, answer.vendor, answer.serialNumber};
    }),
                   __PRETTY_FUNCTION__);
    return properties;
}

}  // namespace Vek::Sensors::HidlWrapper
