// The control calls of the motion sensors. Samples go through stream/stream_handle.h.
#include "motion/motion_sensors.h"

#include <utility>

#include "motion/convert.h"
#include "os/bind_receiver.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

/// Stores the properties of an IMU or a magnetometer. The log text says "imu" for both: the
/// system's tools look for it.
auto storeProperties(MotionSensorProperties& properties) {
    return [&properties](Hidl::Result result, const Hidl::MotionSensorProperties& answer) {
        if (result != Hidl::Result::SUCCESS) {
            MORIAK_LOG_ERROR(
                "Error fetching imu sensor properties, some properties may be invalid: %d",
                static_cast<int>(result));
        }
        properties = Convert::fromHidl(answer);
    };
}

}  // namespace

ImuSensor::ImuSensor(gsl::not_null<android::sp<Hidl::IImu>> hal)
    : hal_(std::move(hal)),
      deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())),
      stream_(OS::BindReceiver(hal_.get(), &Hidl::IImu::prepareStream)) {}

MotionSensorProperties ImuSensor::props() {
    MotionSensorProperties properties;
    const android::sp<Hidl::IImu> hal = hal_.get();
    checkTransport(hal->getProperties(storeProperties(properties)), __PRETTY_FUNCTION__);
    return properties;
}

IDataStream<ImuData>& ImuSensor::stream() {
    return stream_;
}

void ImuSensor::start() {
    const android::sp<Hidl::IImu> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->controlStream(stream_.client(), Hidl::StreamCommand::START),
                        "Start imu stream command failed with result: %d");
}

void ImuSensor::stop() {
    const android::sp<Hidl::IImu> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->controlStream(stream_.client(), Hidl::StreamCommand::STOP),
                        "Stop imu stream command failed with result: %d");
}

void ImuSensor::configureStream(const MotionStreamProperties& properties) {
    const android::sp<Hidl::IImu> hal = hal_.get();
    // The word "Stop" is intended, here and for the magnetometer: the system's tools look for it.
    MORIAK_CONTROL_CALL(hal->configureStream(Convert::intoHidl(properties)),
                        "Stop imu stream could not configure stream with result: %d");
}

MagSensor::MagSensor(gsl::not_null<android::sp<Hidl::IMag>> hal)
    : hal_(std::move(hal)),
      deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())),
      stream_(OS::BindReceiver(hal_.get(), &Hidl::IMag::prepareStream)) {}

MotionSensorProperties MagSensor::props() {
    MotionSensorProperties properties;
    const android::sp<Hidl::IMag> hal = hal_.get();
    checkTransport(hal->getProperties(storeProperties(properties)), __PRETTY_FUNCTION__);
    return properties;
}

IDataStream<MagData>& MagSensor::stream() {
    return stream_;
}

void MagSensor::start() {
    const android::sp<Hidl::IMag> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->controlStream(stream_.client(), Hidl::StreamCommand::START),
                        "Start mag stream command failed with result: %d");
}

void MagSensor::stop() {
    const android::sp<Hidl::IMag> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->controlStream(stream_.client(), Hidl::StreamCommand::STOP),
                        "Stop mag stream command failed with result: %d");
}

void MagSensor::configureStream(const MotionStreamProperties& properties) {
    const android::sp<Hidl::IMag> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->configureStream(Convert::intoHidl(properties)),
                        "Stop mag stream could not configure stream with result: %d");
}

IadSensor::IadSensor(gsl::not_null<android::sp<Hidl::IIad>> hal)
    : hal_(std::move(hal)),
      deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())),
      stream_(OS::BindReceiver(hal_.get(), &Hidl::IIad::prepareStream)) {}

float IadSensor::range() {
    return 0;
}

IDataStream<IadData>& IadSensor::stream() {
    return stream_;
}

void IadSensor::start() {
    const android::sp<Hidl::IIad> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->controlStream(stream_.client(), Hidl::StreamCommand::START),
                        "Start iad stream command failed with result: %d");
}

void IadSensor::stop() {
    const android::sp<Hidl::IIad> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->controlStream(stream_.client(), Hidl::StreamCommand::STOP),
                        "Stop iad stream command failed with result: %d");
}

}  // namespace Vek::Sensors::HidlWrapper
