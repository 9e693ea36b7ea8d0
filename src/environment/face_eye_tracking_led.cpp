// The LEDs' calls. Unlike with the sensors, a refusal is returned to the client and does not end
// the process.
#include "environment/face_eye_tracking_led.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/hal_call.h"
#include "foundation/same_layout.h"

namespace Vek::Sensors::HidlWrapper {

namespace {

using HidlResult = android::hardware::Return<Hidl::Result>;

}  // namespace

FaceEyeTrackingLed::FaceEyeTrackingLed()
    : hal_(Hidl::IFaceEyeTrackingLed::getService(std::string{"default"}, false)),
      deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())),
      sensorClient_(new SensorClient("clientId")) {}

bool FaceEyeTrackingLed::setConfigs(std::vector<FaceEyeTrackingLedConfiguration> configurations) {
    android::hardware::hidl_vec<Hidl::FaceEyeTrackingLedConfiguration> hidlConfigurations;
    hidlConfigurations.resize(configurations.size());
    std::transform(
        configurations.begin(), configurations.end(), hidlConfigurations.begin(),
        Convert::copyBits<Hidl::FaceEyeTrackingLedConfiguration, FaceEyeTrackingLedConfiguration>);
    const android::sp<Hidl::IFaceEyeTrackingLed> hal = hal_.get();
    const HidlResult hidlReturn = hal->setConfigurations(sensorClient_, hidlConfigurations);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    const Hidl::Result result = unwrap(hidlReturn);
    if (result == Hidl::Result::IGNORED) {
        MORIAK_LOG_WARN("Failed to set LED configurations");
        return true;
    }
    if (result != Hidl::Result::SUCCESS) {
        // The letter l at the end of the text is intended: the system's tools look for it.
        MORIAK_LOG_ERROR("Failed to update face eye tracking LED configurations with error %ul",
                         static_cast<unsigned>(result));
        return false;
    }
    return true;
}

bool FaceEyeTrackingLed::enable() {
    const android::sp<Hidl::IFaceEyeTrackingLed> hal = hal_.get();
    const HidlResult hidlReturn = hal->enable(sensorClient_);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    if (hidlReturn == Hidl::Result::IGNORED) {
        MORIAK_LOG_WARN("Failed to enable LEDs");
        return true;
    }
    return hidlReturn == Hidl::Result::SUCCESS;
}

bool FaceEyeTrackingLed::disable() {
    const android::sp<Hidl::IFaceEyeTrackingLed> hal = hal_.get();
    const HidlResult hidlReturn = hal->disable(sensorClient_);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    if (hidlReturn == Hidl::Result::IGNORED) {
        MORIAK_LOG_WARN("Failed to disable LEDs");
        return true;
    }
    return hidlReturn == Hidl::Result::SUCCESS;
}

uint8_t FaceEyeTrackingLed::getNumChannels(FaceEyeTrackingLedGroup group) {
    const android::sp<Hidl::IFaceEyeTrackingLed> hal = hal_.get();
    const android::hardware::Return<uint8_t> hidlReturn =
        hal->getChannelCount(static_cast<Hidl::FaceEyeTrackingLedGroup>(group));
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return unwrap(hidlReturn);
}

// Unlike above, IGNORED is a refusal: the override did not take effect.
bool FaceEyeTrackingLed::startOverridingLedSettings() {
    const android::sp<Hidl::IFaceEyeTrackingLed> hal = hal_.get();
    const HidlResult hidlReturn = hal->startOverridingLedSettings(sensorClient_);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return hidlReturn == Hidl::Result::SUCCESS;
}

bool FaceEyeTrackingLed::stopOverridingLedSettings() {
    const android::sp<Hidl::IFaceEyeTrackingLed> hal = hal_.get();
    const HidlResult hidlReturn = hal->stopOverridingLedSettings(sensorClient_);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return hidlReturn == Hidl::Result::SUCCESS;
}

}  // namespace Vek::Sensors::HidlWrapper
