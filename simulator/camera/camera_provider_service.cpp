#include "camera/camera_provider_service.h"

#include <hidl/HidlTransportSupport.h>
#include <log/log.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "camera/calibration.h"

namespace Simulator {

using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using Hidl::Result;

CameraProviderService::CameraProviderService(std::vector<StreamPointer> streams,
                                             std::shared_ptr<MuxControl> mux,
                                             std::shared_ptr<Faults> faults)
    : faults_(std::move(faults)), streams_(std::move(streams)), mux_(std::move(mux)) {
    for (const StreamPointer& stream : streams_) {
        channels_.push_back(stream->server()->plan().frameType);
    }
}

Return<void> CameraProviderService::getProperties(getProperties_cb callback) {
    std::vector<Hidl::CameraProperties> cameras;
    for (const StreamPointer& stream : streams_) {
        const CameraStreamPlan& plan = stream->server()->plan();
        for (const CameraPlan& camera : plan.cameras) {
            cameras.push_back({camera.id, camera.name, plan.sensorModel});
        }
    }
    callback(Result::SUCCESS, cameras);
    return Void();
}

Return<void> CameraProviderService::getCalibrationData(uint32_t cameraId,
                                                       getCalibrationData_cb callback) {
    hidl_handle calibration;
    for (const StreamPointer& stream : streams_) {
        const CameraStreamPlan& plan = stream->server()->plan();
        for (const CameraPlan& camera : plan.cameras) {
            if (camera.id == cameraId) {
                const CalibrationTexts texts =
                    stream->server()->source().calibration(plan, camera, stream->sessionData());
                calibration = calibrationHandle(texts.factory, texts.device);
            }
        }
    }
    const bool isThere = calibration.getNativeHandle() != nullptr;
    callback(isThere ? Result::SUCCESS : Result::FAILURE, calibration);
    return Void();
}

Return<android::sp<Hidl::ICameraStream>> CameraProviderService::getStream(
    Hidl::FrameType frameType) {
    return android::sp<Hidl::ICameraStream>(streamOf(frameType));
}

Return<android::sp<Hidl::ICameraStream>> CameraProviderService::getStreamByPurpose(
    const String& purpose, const String& variant) {
    return android::sp<Hidl::ICameraStream>(streamOf(purpose, variant));
}

Return<android::sp<Hidl::ICameraStreamController>> CameraProviderService::getStreamController(
    const String& purpose, const String& variant) {
    android::sp<Hidl::ICameraStreamController> controller;
    if (const StreamPointer stream = streamOf(purpose, variant); stream != nullptr) {
        controller = makeService<CameraStreamController>(faults_, stream->server());
    }
    return controller;
}

Return<Hidl::UtilityFrequency> CameraProviderService::getUtilityFrequency() {
    const std::lock_guard lock{mutex_};
    return utilityFrequency_;
}

Return<Result> CameraProviderService::setUtilityFrequency(Hidl::UtilityFrequency frequency) {
    if (frequency > Hidl::UtilityFrequency::FREQUENCY_60_HZ) {
        return Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    utilityFrequency_ = frequency;
    for (const StreamPointer& stream : streams_) {
        stream->server()->exposure().setUtilityFrequency(frequency);
    }
    return Result::SUCCESS;
}

Return<void> CameraProviderService::getChannels(getChannels_cb callback) {
    Hidl::ChannelSettings settings;
    {
        const std::lock_guard lock{mutex_};
        settings.channels = channels_;
    }
    callback(settings);
    return Void();
}

Return<Result> CameraProviderService::setChannels(const Hidl::ChannelSettings& settings) {
    const std::vector<Hidl::FrameType> channels = settings.channels;
    for (const Hidl::FrameType channel : channels) {
        if (streamOf(channel) == nullptr) {
            ALOGW("refused channels: no camera gives frames of type %u",
                  static_cast<uint32_t>(channel));
            return Result::FAILURE;
        }
    }
    const std::lock_guard lock{mutex_};
    channels_ = channels;
    for (const StreamPointer& stream : streams_) {
        FrameSetServer& server = *stream->server();
        server.setEnabled(std::find(channels.begin(), channels.end(), server.plan().frameType) !=
                          channels.end());
    }
    return Result::SUCCESS;
}

Return<Result> CameraProviderService::applyMuxMode(const String& name, uint8_t transition) {
    return mux_->apply(name, transition);
}

Return<Result> CameraProviderService::setFrameRate(const Hidl::FrameRateSettings& settings) {
    const auto& types = settings.frameTypes;
    const bool areThere = std::all_of(types.begin(), types.end(), [this](Hidl::FrameType type) {
        return streamOf(type) != nullptr;
    });
    if (!areThere || types.size() != settings.frameRates.size()) {
        ALOGW("refused %zu frame rates for %zu frame types", settings.frameRates.size(),
              types.size());
        return Result::FAILURE;
    }
    for (size_t i = 0; i < types.size(); ++i) {
        const Result result = streamOf(types[i])->server()->setFrameRate(settings.frameRates[i]);
        if (result != Result::SUCCESS) {
            return result;
        }
    }
    return Result::SUCCESS;
}

Return<Result> CameraProviderService::controlEvery(
    const hidl_vec<android::sp<Hidl::ICameraStreamControlTarget>>& targets,
    Hidl::StreamCommand command) {
    bool isAllIgnored = targets.size() > 0;
    for (const auto& target : targets) {
        const Result result = controlTarget(target, command);
        if (result != Result::SUCCESS && result != Result::IGNORED) {
            return result;
        }
        isAllIgnored = isAllIgnored && result == Result::IGNORED;
    }
    return isAllIgnored ? Result::IGNORED : Result::SUCCESS;
}

Result CameraProviderService::controlTarget(
    const android::sp<Hidl::ICameraStreamControlTarget>& target,
    Hidl::StreamCommand command) const {
    if (target == nullptr) {
        return Result::FAILURE;
    }
    // These calls go to the client, and a failure concerns only the client. Each status must be
    // checked, because an unchecked failure would end the process.
    const Return<android::sp<Hidl::ICameraStream>> stream = target->getStream();
    if (!stream.isOk()) {
        return Result::FAILURE;
    }
    const Return<android::sp<Hidl::ISensorClient>> client = target->getClient();
    if (!client.isOk()) {
        return Result::FAILURE;
    }
    const android::sp<Hidl::ICameraStream> named = stream;
    for (const StreamPointer& candidate : streams_) {
        if (android::hardware::interfacesEqual(named,
                                               android::sp<Hidl::ICameraStream>(candidate))) {
            return candidate->server()->control(client, command);
        }
    }
    ALOGW("refused a command for a stream that is none of the service's");
    return Result::FAILURE;
}

CameraProviderService::StreamPointer CameraProviderService::streamOf(
    Hidl::FrameType frameType) const {
    const auto found =
        std::find_if(streams_.begin(), streams_.end(), [&](const StreamPointer& stream) {
            return stream->server()->plan().frameType == frameType;
        });
    return found == streams_.end() ? nullptr : *found;
}

/// Streams have no variants, so only an empty `variant` matches.
CameraProviderService::StreamPointer CameraProviderService::streamOf(const String& purpose,
                                                                     const String& variant) const {
    const auto found =
        std::find_if(streams_.begin(), streams_.end(), [&](const StreamPointer& stream) {
            return stream->server()->plan().purpose == purpose.c_str();
        });
    return found == streams_.end() || variant.size() > 0 ? nullptr : *found;
}

}  // namespace Simulator
