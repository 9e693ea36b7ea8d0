// The provider's calls.
#include "camera/camera_provider.h"

#include <cutils/ashmem.h>
#include <hwbinder/IPCThreadState.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include "camera/camera_stream.h"
#include "camera/camera_stream_controller.h"
#include "camera/convert.h"
#include "foundation/hal_call.h"
#include "os/shared_bytes.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

constexpr std::array<const char*, 19> kFrameTypeNames{
    "NOT_RECEIVED",
    "INVALID",
    "HEADSET",
    "CONTROLLER",
    "HAND",
    "FACE_EYE_COMPOSITE",
    "EYE",
    "FACE",
    "DEPTH",
    "COLOR",
    "GENERIC_SLOT_0",
    "GENERIC_SLOT_1",
    "GENERIC_SLOT_2",
    "GENERIC_SLOT_3",
    "GENERIC_SLOT_4",
    "GENERIC_SLOT_5",
    "GENERIC_SLOT_6",
    "GENERIC_SLOT_7",
    "NUM_FRAME_TYPES",
};

const char* nameOf(FrameType frameType) {
    const auto value = static_cast<uint32_t>(frameType);
    return value < kFrameTypeNames.size() ? kFrameTypeNames[value] : "UNKNOWN";
}

std::string namesOf(const std::vector<FrameType>& frameTypes) {
    std::string names;
    for (const FrameType frameType : frameTypes) {
        names.append(names.empty() ? "" : ", ").append(nameOf(frameType));
    }
    return names;
}

void logInvalidCalibration() {
    MORIAK_LOG_ERROR("Invalid handle or file descriptors for calibration data");
}

/// Leaves `text` unchanged if the region cannot be mapped.
void readText(int fd, std::string& text) {
    const OS::SharedBytes region = OS::mapSharedBytes(fd);
    if (region == nullptr) {
        logInvalidCalibration();
        return;
    }
    // The service may have left out the terminating zero byte.
    const char* const bytes = reinterpret_cast<const char*>(region->data());
    text.assign(bytes, strnlen(bytes, region->size()));
}

void readCalibration(const native_handle_t* handle, CameraProperties& camera) {
    if (handle == nullptr || handle->numFds < 2 || ashmem_valid(handle->data[0]) == 0 ||
        ashmem_valid(handle->data[1]) == 0) {
        logInvalidCalibration();
        return;
    }
    readText(handle->data[0], camera.calibrationData1);
    readText(handle->data[1], camera.calibrationData2);
}

/// Sends queued releases now, so that the service learns at once that its object is not held.
void flushReferenceCounts() {
    android::hardware::IPCThreadState::self()->flushCommands();
}

std::unique_ptr<ICameraStream> wrapStream(const android::sp<Hidl::ICameraStream>& stream,
                                          const std::string& clientName) {
    flushReferenceCounts();
    if (stream == nullptr) {
        return nullptr;
    }
    return std::make_unique<CameraStream>(stream, clientName);
}

}  // namespace

CameraProvider::CameraProvider(gsl::not_null<android::sp<Hidl::ICameraProvider>> hal)
    : hal_(std::move(hal)), deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())) {}

std::vector<CameraProperties> CameraProvider::getProperties() {
    std::vector<CameraProperties> cameras;
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    checkTransport(hal->getProperties([&cameras](Hidl::Result result, const auto& answer) {
        if (result != Hidl::Result::SUCCESS) {
            MORIAK_LOG_ERROR("Error fetching camera properties, some properties may be invalid: %d",
                             static_cast<int>(result));
        }
        cameras.reserve(answer.size());
        for (const Hidl::CameraProperties& camera : answer) {
            cameras.push_back(Convert::fromHidl(camera));
        }
    }),
                   __PRETTY_FUNCTION__);
    for (CameraProperties& camera : cameras) {
        checkTransport(
            hal->getCalibrationData(
                camera.cameraId,
                [&camera](Hidl::Result result, const android::hardware::hidl_handle& calibration) {
                    if (result != Hidl::Result::SUCCESS) {
                        MORIAK_LOG_ERROR(
                            "Error fetching camera calibration data, some data may be invalid: %d",
                            static_cast<int>(result));
                        return;
                    }
                    readCalibration(calibration.getNativeHandle(), camera);
                }),
            __PRETTY_FUNCTION__);
    }
    return cameras;
}

std::unique_ptr<ICameraStream> CameraProvider::getStream(FrameType frameType,
                                                         const std::string& clientName) {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    const android::hardware::Return<android::sp<Hidl::ICameraStream>> hidlReturn =
        hal->getStream(static_cast<Hidl::FrameType>(frameType));
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return wrapStream(unwrap(hidlReturn), clientName);
}

std::unique_ptr<ICameraStream> CameraProvider::getStreamByPurpose(const std::string& purpose,
                                                                  const std::string& variant,
                                                                  const std::string& clientName) {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    const android::hardware::Return<android::sp<Hidl::ICameraStream>> hidlReturn =
        hal->getStreamByPurpose(purpose, variant);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return wrapStream(unwrap(hidlReturn), clientName);
}

std::unique_ptr<ICameraStreamController> CameraProvider::getStreamController(
    const std::string& purpose, const std::string& variant) {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    const android::hardware::Return<android::sp<Hidl::ICameraStreamController>> hidlReturn =
        hal->getStreamController(purpose, variant);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    const android::sp<Hidl::ICameraStreamController> controller = unwrap(hidlReturn);
    flushReferenceCounts();
    if (controller == nullptr) {
        return nullptr;
    }
    return std::make_unique<CameraStreamController>(controller);
}

UtilityFrequency CameraProvider::getUtilityFrequency() {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    const android::hardware::Return<Hidl::UtilityFrequency> hidlReturn = hal->getUtilityFrequency();
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return static_cast<UtilityFrequency>(unwrap(hidlReturn));
}

void CameraProvider::setUtilityFrequency(UtilityFrequency frequency) {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->setUtilityFrequency(static_cast<Hidl::UtilityFrequency>(frequency)),
                        "Failed to set utility frequency: %d");
}

ChannelSettings CameraProvider::getChannels() {
    ChannelSettings settings;
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    checkTransport(hal->getChannels([&settings](const Hidl::ChannelSettings& answer) {
        settings = Convert::fromHidl(answer);
    }),
                   __PRETTY_FUNCTION__);
    return settings;
}

void CameraProvider::setChannels(ChannelSettings settings) {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    const android::hardware::Return<Hidl::Result> hidlReturn =
        hal->setChannels(Convert::intoHidl(settings));
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    MORIAK_FATAL_IF(hidlReturn != Hidl::Result::SUCCESS,
                    "Failed to set channels %s with status: %d", namesOf(settings.channels).c_str(),
                    static_cast<int>(unwrap(hidlReturn)));
}

bool CameraProvider::applyMuxMode(const std::string& muxModeName, uint8_t transition) {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    const android::hardware::Return<Hidl::Result> hidlReturn =
        hal->applyMuxMode(muxModeName, transition);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return hidlReturn == Hidl::Result::SUCCESS;
}

void CameraProvider::setFrameRate(FrameRateSettings settings) {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(hal->setFrameRate(Convert::intoHidl(settings)),
                        "Failed to set frame rate: %d");
}

bool CameraProvider::getRawImageMode() {
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    const android::hardware::Return<bool> hidlReturn = hal->getRawImageMode();
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return unwrap(hidlReturn);
}

void CameraProvider::registerDisconnectEventHandler(ServiceDisconnectHandler&& handler) {
    deathRecipient_->registerDisconnectHandler(handler);
}

void CameraProvider::startEvery(const std::vector<std::shared_ptr<ICameraStream>>& streams) {
    controlEvery(streams, Hidl::StreamCommand::START);
}

void CameraProvider::stopEvery(const std::vector<std::shared_ptr<ICameraStream>>& streams) {
    controlEvery(streams, Hidl::StreamCommand::STOP);
}

void CameraProvider::controlEvery(const std::vector<std::shared_ptr<ICameraStream>>& streams,
                                  Hidl::StreamCommand command) {
    std::vector<android::sp<Hidl::ICameraStreamControlTarget>> targets;
    for (const std::shared_ptr<ICameraStream>& stream : streams) {
        if (stream != nullptr) {
            targets.push_back(stream->streamControlTarget());
        }
    }
    const android::sp<Hidl::ICameraProvider> hal = hal_.get();
    const android::hardware::Return<Hidl::Result> hidlReturn = hal->controlEvery(targets, command);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    MORIAK_FATAL_IF(hidlReturn != Hidl::Result::SUCCESS && hidlReturn != Hidl::Result::IGNORED,
                    "Stream command (%s) failed with result: %d", toString(command).c_str(),
                    static_cast<int>(unwrap(hidlReturn)));
}

}  // namespace Vek::Sensors::HidlWrapper
