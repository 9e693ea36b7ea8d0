// See camera_stream_service.h.
#include "camera/camera_stream_service.h"

#include <log/log.h>

#include <algorithm>

namespace Simulator {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using Hal::Result;

Return<void> CameraStreamService::getMetadata(getMetadata_cb callback) {
    callback(faultOf("getMetadata"), server_->metadata());
    return Void();
}

Return<void> CameraStreamService::prepareStream(
    const Client& client, const android::hardware::MQDescriptorSync<Hal::FrameSet>& queue,
    const Hal::FmqConfig& config, prepareStream_cb callback) {
    Result result = faultOf("prepareStream");
    std::shared_ptr<const FrameSetClient> prepared;
    if (result == Result::SUCCESS) {
        prepared = server_->prepare(client, queue, config);
        result = prepared == nullptr ? Result::FAILURE : Result::SUCCESS;
    }
    if (prepared == nullptr) {
        callback(result, {}, {});
    } else {
        callback(result, prepared->recycleQueue(), prepared->recycleConfig());
    }
    return Void();
}

Return<void> CameraStreamService::getConfiguration(const Client& /*client*/,
                                                   getConfiguration_cb callback) {
    callback(faultOf("getConfiguration"), server_->configuration());
    return Void();
}

Return<Result> CameraStreamService::controlStream(const Client& client,
                                                  Hal::StreamCommand command) {
    const Result fault = faultOf("controlStream");
    return fault == Result::SUCCESS ? server_->control(client, command) : fault;
}

Return<Result> CameraStreamService::startOverridingExposureSettings(const Client& client) {
    const Result fault = faultOf("startOverridingExposureSettings");
    return fault != Result::SUCCESS
               ? fault
               : server_->overrideExposure(client, [&](ExposureControl::Claimant claimant) {
                     server_->exposure().startOverriding(claimant);
                     return Result::SUCCESS;
                 });
}

Return<Result> CameraStreamService::stopOverridingExposureSettings(const Client& client) {
    const Result fault = faultOf("stopOverridingExposureSettings");
    return fault != Result::SUCCESS
               ? fault
               : server_->overrideExposure(client, [&](ExposureControl::Claimant claimant) {
                     return server_->exposure().stopOverriding(claimant);
                 });
}

Return<void> CameraStreamService::registerFrameConfigCallback(
    const Client& client, const android::sp<Hal::IFrameConfigCallback>& configCallback,
    registerFrameConfigCallback_cb callback) {
    Hal::MuxState state{};
    Result result = faultOf("registerFrameConfigCallback");
    if (result == Result::SUCCESS) {
        result = mux_->addCallback(*server_, client, configCallback, &state);
    }
    callback(result, state);
    return Void();
}

Return<void> CameraStreamService::setExposureGain(const Client& client,
                                                  const Hal::ExposureGainSettings& settings) {
    const Result result =
        server_->overrideExposure(client, [&](ExposureControl::Claimant claimant) {
            return server_->exposure().set(claimant, settings, 0);
        });
    if (result != Result::SUCCESS) {
        // Nobody is told: the call has no result.
        ALOGW("%s: ignored exposures for %u cameras, result %d", server_->plan().name.c_str(),
              settings.numCameras, static_cast<int>(result));
    }
    return Void();
}

Return<void> CameraStreamService::setPhaseOffset(uint64_t offset) {
    server_->setPhaseOffset(offset);
    return Void();
}

Return<Result> CameraStreamService::setCameraSyncMode(Hal::CameraSyncMode mode) {
    const Result fault = faultOf("setCameraSyncMode");
    return fault == Result::SUCCESS ? server_->setSyncMode(mode) : fault;
}

Return<Result> CameraStreamService::writeSessionOcalData(const hidl_string& name,
                                                         const hidl_vec<uint8_t>& data) {
    constexpr size_t kMaxNames = 16;
    constexpr size_t kMaxNameLength = 64;
    constexpr size_t kMaxSize = 65'536;
    const Result fault = faultOf("writeSessionOcalData");
    if (fault != Result::SUCCESS) {
        return fault;
    }
    // The name becomes part of a JSON text.
    const std::string text = name;
    const bool isName = !text.empty() && text.size() <= kMaxNameLength &&
                        std::all_of(text.begin(), text.end(), [](unsigned char c) {
                            return std::isalnum(c) != 0 || c == '-' || c == '_' || c == '.';
                        });
    const std::lock_guard lock{mutex_};
    const bool isRoom = sessionData_.size() < kMaxNames || sessionData_.count(text) > 0;
    if (!isName || !isRoom || data.size() > kMaxSize) {
        ALOGW("%s: refused session data of %zu bytes", server_->plan().name.c_str(), data.size());
        return Result::FAILURE;
    }
    sessionData_[text] = data;
    return Result::SUCCESS;
}

Return<Result> CameraStreamService::setResolution(const hidl_vec<Hal::Resolution>& resolutions) {
    const Result fault = faultOf("setResolution");
    return fault == Result::SUCCESS ? server_->setResolutions(resolutions) : fault;
}

std::vector<std::string> CameraStreamService::sessionData() const {
    const std::lock_guard lock{mutex_};
    std::vector<std::string> names;
    for (const auto& [name, data] : sessionData_) {
        names.push_back(name);
    }
    return names;
}

Return<Result> CameraStreamController::startOverridingExposureSettings() {
    const Result fault = faults_->resultOf(descriptor, "startOverridingExposureSettings");
    if (fault == Result::SUCCESS) {
        server_->exposure().startOverriding(this);
    }
    return fault;
}

Return<Result> CameraStreamController::stopOverridingExposureSettings() {
    const Result fault = faults_->resultOf(descriptor, "stopOverridingExposureSettings");
    return fault == Result::SUCCESS ? server_->exposure().stopOverriding(this) : fault;
}

Return<Result> CameraStreamController::setExposureGain(uint8_t slot, uint32_t frameSets,
                                                       const Hal::ExposureGainSettings& settings) {
    const Result fault = faults_->resultOf(descriptor, "setExposureGain");
    if (fault != Result::SUCCESS) {
        return fault;
    }
    // FAILURE would say that the cameras are beyond control.
    const bool isPossible =
        slot < MuxControl::kSlots && settings.numCameras <= server_->plan().cameras.size();
    return isPossible ? server_->exposure().set(this, settings, frameSets) : Result::BAD_STATE;
}

}  // namespace Simulator
