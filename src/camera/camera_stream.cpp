// The control calls and queries of a camera stream. Frame sets go through
// camera/dual_stream_handle.h.
#include "camera/camera_stream.h"

#include <cstdint>
#include <functional>
#include <utility>

#include "camera/convert.h"
#include "camera/frame_set_config_update_callback.h"
#include "foundation/hal_call.h"
#include "os/bind_receiver.h"

namespace Vek::Sensors::HidlWrapper {

CameraStream::CameraStream(gsl::not_null<android::sp<Hidl::ICameraStream>> stream,
                           const std::string& clientName)
    : hal_(std::move(stream)),
      stream_(OS::BindReceiver(hal_.get(), &Hidl::ICameraStream::prepareStream), clientName),
      streamControlTarget_(new CameraStreamControlTarget(hal_.get(), stream_.client())) {}

CameraStreamMetadata CameraStream::getMetadata() {
    CameraStreamMetadata metadata;
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    checkTransport(hal->getMetadata([&metadata](Hidl::Result status,
                                                const Hidl::CameraStreamMetadata& answer) {
        MORIAK_FATAL_IF(status != Hidl::Result::SUCCESS, "Failed to fetch stream metadata: %d",
                        static_cast<int>(status));
        metadata = Convert::fromHidl(answer);
    }),
                   __PRETTY_FUNCTION__);
    return metadata;
}

IDataStream<FrameSet>& CameraStream::stream() {
    return stream_;
}

CameraStreamConfiguration CameraStream::getConfiguration() {
    CameraStreamConfiguration configuration;
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    checkTransport(
        hal->getConfiguration(
            stream_.client(),
            [&configuration](Hidl::Result status, const Hidl::CameraStreamConfiguration& answer) {
                MORIAK_FATAL_IF(status != Hidl::Result::SUCCESS,
                                "Failed to fetch stream configuration: %d",
                                static_cast<int>(status));
                configuration = Convert::fromHidl(answer);
            }),
        __PRETTY_FUNCTION__);
    return configuration;
}

void CameraStream::start() {
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    const android::hardware::Return<Hidl::Result> hidlReturn =
        hal->controlStream(stream_.client(), Hidl::StreamCommand::START);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    MORIAK_FATAL_IF(hidlReturn != Hidl::Result::SUCCESS && hidlReturn != Hidl::Result::IGNORED,
                    "Start stream command failed with result: %d",
                    static_cast<int>(unwrap(hidlReturn)));
}

void CameraStream::stop() {
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    const android::hardware::Return<Hidl::Result> hidlReturn =
        hal->controlStream(stream_.client(), Hidl::StreamCommand::STOP);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    MORIAK_FATAL_IF(hidlReturn != Hidl::Result::SUCCESS && hidlReturn != Hidl::Result::IGNORED,
                    "Stop stream command failed with result: %d",
                    static_cast<int>(unwrap(hidlReturn)));
}

void CameraStream::startOverridingExposureSettings() {
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->startOverridingExposureSettings(stream_.client()),
                        "Failed to start overriding exposure settings: %d");
}

void CameraStream::stopOverridingExposureSettings() {
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->stopOverridingExposureSettings(stream_.client()),
                        "Failed to stop overriding exposure settings: %d");
}

FrameSetConfigurationUpdate CameraStream::registerFrameSetConfigurationUpdateCallback(
    std::function<void(const FrameSetConfigurationUpdate&)> callback) {
    FrameSetConfigurationUpdate initial;
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    checkTransport(hal->registerFrameConfigCallback(
                       stream_.client(), new FrameSetConfigUpdateCallback(std::move(callback)),
                       [&initial](Hidl::Result status, const Hidl::MuxState& state) {
                           MORIAK_FATAL_IF(
                               status != Hidl::Result::SUCCESS,
                               "Failed to register handler and return initial MuxState: %d Please "
                               "ensure you have added the CameraStream to a CompositeStream and "
                               "that the stream is stopped.",
                               static_cast<int>(status));
                           initial = Convert::fromHidl(state);
                       }),
                   __PRETTY_FUNCTION__);
    return initial;
}

void CameraStream::setExposureGain(ExposureGainSettings settings) {
    const Hidl::ExposureGainSettings hidlSettings = Convert::intoHidl(settings);
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    checkTransport(hal->setExposureGain(stream_.client(), hidlSettings), __PRETTY_FUNCTION__);
}

void CameraStream::setPhaseOffset(uint64_t offset) {
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    checkTransport(hal->setPhaseOffset(offset), __PRETTY_FUNCTION__);
}

void CameraStream::setCameraSyncMode(CameraSyncMode mode) {
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->setCameraSyncMode(static_cast<Hidl::CameraSyncMode>(mode)),
                        "Failed to set camera mode: %d");
}

void CameraStream::writeSessionOcalData(const std::string& name, gsl::span<const uint8_t> data) {
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    const std::vector<uint8_t> bytes(data.begin(), data.end());
    MORIAK_CONTROL_CALL(hal->writeSessionOcalData(name, bytes),
                        "Failed to write online calibration data: %d");
}

bool CameraStream::setResolution(std::vector<Resolution> resolutions) {
    const android::sp<Hidl::ICameraStream> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->setResolution(Convert::intoHidl(resolutions)),
                        "Failed to set resolution: %d");
    return true;
}

const android::sp<CameraStreamControlTarget>& CameraStream::streamControlTarget() {
    return streamControlTarget_;
}

}  // namespace Vek::Sensors::HidlWrapper
