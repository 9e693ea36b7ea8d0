#include "camera/camera_stream_service.h"

#include <log/log.h>

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace Simulator {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using Hidl::Result;

Return<void> CameraStreamService::getMetadata(getMetadata_cb callback) {
    callback(Result::SUCCESS, server_->metadata());
    return Void();
}

Return<void> CameraStreamService::prepareStream(const ClientIdentity& client,
                                                const ClientQueue<Hidl::FrameSet>& queue,
                                                const Hidl::FmqConfig& config,
                                                prepareStream_cb callback) {
    const std::shared_ptr<const FrameSetClient> prepared = server_->prepare(client, queue, config);
    if (prepared == nullptr) {
        callback(Result::FAILURE, {}, {});
    } else {
        callback(Result::SUCCESS, prepared->recycleQueue(), prepared->recycleConfig());
    }
    return Void();
}

Return<void> CameraStreamService::getConfiguration(const ClientIdentity& /*client*/,
                                                   getConfiguration_cb callback) {
    callback(Result::SUCCESS, server_->configuration());
    return Void();
}

Return<Result> CameraStreamService::controlStream(const ClientIdentity& client,
                                                  Hidl::StreamCommand command) {
    return server_->control(client, command);
}

Return<Result> CameraStreamService::startOverridingExposureSettings(const ClientIdentity& client) {
    return server_->overrideExposure(client, [&](ExposureControl::Claimant claimant) {
        server_->exposure().startOverriding(claimant);
        return Result::SUCCESS;
    });
}

Return<Result> CameraStreamService::stopOverridingExposureSettings(const ClientIdentity& client) {
    return server_->overrideExposure(client, [&](ExposureControl::Claimant claimant) {
        return server_->exposure().stopOverriding(claimant);
    });
}

Return<void> CameraStreamService::registerFrameConfigCallback(
    const ClientIdentity& client, const android::sp<Hidl::IFrameConfigCallback>& configCallback,
    registerFrameConfigCallback_cb callback) {
    Hidl::MuxState state{};
    const Result result = mux_->addCallback(*server_, client, configCallback, &state);
    callback(result, state);
    return Void();
}

Return<void> CameraStreamService::setExposureGain(const ClientIdentity& client,
                                                  const Hidl::ExposureGainSettings& settings) {
    const Result result =
        server_->overrideExposure(client, [&](ExposureControl::Claimant claimant) {
            return server_->exposure().set(claimant, settings, 0);
        });
    if (result != Result::SUCCESS) {
        // Logged, because the call has no result.
        ALOGW("%s: ignored exposures for %u cameras, result %d", server_->plan().name.c_str(),
              settings.numCameras, static_cast<int>(result));
    }
    return Void();
}

Return<Result> CameraStreamService::writeSessionOcalData(const hidl_string& name,
                                                         const hidl_vec<uint8_t>& data) {
    constexpr size_t kMaxNames = 16;
    constexpr size_t kMaxNameLength = 64;
    constexpr size_t kMaxSize = 65'536;
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

std::vector<std::string> CameraStreamService::sessionData() const {
    const std::lock_guard lock{mutex_};
    std::vector<std::string> names;
    for (const auto& [name, data] : sessionData_) {
        names.push_back(name);
    }
    return names;
}

Return<Result> CameraStreamController::startOverridingExposureSettings() {
    server_->exposure().startOverriding(this);
    return Result::SUCCESS;
}

Return<Result> CameraStreamController::stopOverridingExposureSettings() {
    return server_->exposure().stopOverriding(this);
}

Return<Result> CameraStreamController::setExposureGain(uint8_t slot, uint32_t frameSets,
                                                       const Hidl::ExposureGainSettings& settings) {
    // Returns BAD_STATE for wrong arguments: FAILURE would mean that the cameras cannot be
    // controlled any more.
    const bool isPossible =
        slot < MuxControl::kSlots && settings.numCameras <= server_->plan().cameras.size();
    return isPossible ? server_->exposure().set(this, settings, frameSets) : Result::BAD_STATE;
}

}  // namespace Simulator
