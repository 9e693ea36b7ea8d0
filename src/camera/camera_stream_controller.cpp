// Unlike a stream's calls, a controller's return false for a refusal and end the process only for
// FAILURE or a failed transport.
#include "camera/camera_stream_controller.h"

#include <cstdint>
#include <utility>

#include "camera/convert.h"
#include "foundation/hal_call.h"

namespace Vek::Sensors::HidlWrapper {

CameraStreamController::CameraStreamController(
    gsl::not_null<android::sp<Hidl::ICameraStreamController>> controller)
    : hal_(std::move(controller)) {}

bool CameraStreamController::startOverridingExposureSettings() {
    const android::sp<Hidl::ICameraStreamController> hal = hal_.get();
    const android::hardware::Return<Hidl::Result> hidlReturn =
        hal->startOverridingExposureSettings();
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    MORIAK_FATAL_IF(hidlReturn == Hidl::Result::FAILURE,
                    "Unrecoverably failed to start overriding exposure settings: %d",
                    static_cast<int>(unwrap(hidlReturn)));
    return hidlReturn == Hidl::Result::SUCCESS;
}

bool CameraStreamController::stopOverridingExposureSettings() {
    const android::sp<Hidl::ICameraStreamController> hal = hal_.get();
    const android::hardware::Return<Hidl::Result> hidlReturn =
        hal->stopOverridingExposureSettings();
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    MORIAK_FATAL_IF(hidlReturn == Hidl::Result::FAILURE,
                    "Unrecoverably failed to stop overriding exposure settings: %d",
                    static_cast<int>(unwrap(hidlReturn)));
    return hidlReturn == Hidl::Result::SUCCESS;
}

bool CameraStreamController::setExposureGain(uint8_t slot, uint32_t frameSets,
                                             ExposureGainSettings settings) {
    const Hidl::ExposureGainSettings hidlSettings = Convert::intoHidl(settings);
    const android::sp<Hidl::ICameraStreamController> hal = hal_.get();
    const android::hardware::Return<Hidl::Result> hidlReturn =
        hal->setExposureGain(slot, frameSets, hidlSettings);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    MORIAK_FATAL_IF(hidlReturn == Hidl::Result::FAILURE,
                    "Unrecoverably failed to set exposure gain settings: %d",
                    static_cast<int>(unwrap(hidlReturn)));
    return hidlReturn == Hidl::Result::SUCCESS;
}

}  // namespace Vek::Sensors::HidlWrapper
