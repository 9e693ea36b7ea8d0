#include "camera/mux_control.h"

#include <log/log.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

namespace Simulator {
namespace {

struct MuxModePlan {
    std::string name;
    /// The mode to fall back to; may be empty.
    std::string fallback;
    std::vector<std::string> purposes;
};

const std::vector<MuxModePlan>& muxModePlans() {
    static const std::vector<MuxModePlan> plans{
        {MuxControl::kFirstMode,
         "tracking",
         {"head-tracking", "hand-tracking", "eye-tracking", "depth", "passthrough"}},
        {"tracking", "low-power", {"head-tracking", "hand-tracking", "eye-tracking"}},
        {"low-power", "", {"head-tracking"}},
    };
    return plans;
}

/// Null if there is no mode of that name.
const MuxModePlan* findPlan(const std::string& name) {
    const auto& plans = muxModePlans();
    const auto found = std::find_if(plans.begin(), plans.end(),
                                    [&](const MuxModePlan& plan) { return plan.name == name; });
    return found == plans.end() ? nullptr : &*found;
}

bool serves(const MuxModePlan& mode, const std::string& purpose) {
    return std::find(mode.purposes.begin(), mode.purposes.end(), purpose) != mode.purposes.end();
}

constexpr std::chrono::nanoseconds kSlot = std::chrono::nanoseconds(std::chrono::seconds(1)) / 60;
constexpr uint32_t kSlots = MuxControl::kSlots;

/// Bit i is set if the stream's cameras are used in slot i.
uint32_t slotsOf(const CameraStreamPlan& stream) {
    return stream.frameRate >= Hidl::FrameRate::FPS_60 ? 0b11 : 0b01;
}

/// When a mode takes effect that is applied now.
int64_t beginOf(uint8_t transition, WorldClock::Time now) {
    // Long enough to notify clients before.
    constexpr std::chrono::milliseconds kNotice{2};
    const std::chrono::nanoseconds soonest = now.time_since_epoch() + kNotice;
    const std::chrono::nanoseconds cycle = kSlots * kSlot;
    return transition == 0 ? ((soonest / cycle) + 1) * cycle.count() : soonest.count();
}

using Servers = std::vector<android::sp<FrameSetServer>>;

std::vector<Hidl::MuxPurpose> purposeDataOf(const Servers& servers, const MuxModePlan& mode) {
    std::vector<Hidl::MuxPurpose> all;
    for (const auto& server : servers) {
        const CameraStreamPlan& stream = server->plan();
        if (serves(mode, stream.purpose)) {
            std::vector<uint8_t> cameras;
            for (const CameraPlan& camera : stream.cameras) {
                cameras.push_back(static_cast<uint8_t>(camera.id));
            }
            all.push_back({stream.purpose, cameras});
        }
    }
    return all;
}

Hidl::CameraGlobalConfiguration globalConfiguration(const CameraStreamPlan& stream,
                                                    const CameraPlan& camera) {
    constexpr ExposureLimits kLimits;
    Hidl::CameraGlobalConfiguration configuration{};
    configuration.cameraId = camera.id;
    configuration.frameRate = stream.frameRate;
    configuration.minExposureTime = kLimits.minExposureTime;
    configuration.maxExposureTime = kLimits.maxExposureTime;
    configuration.minGain = kLimits.minGain;
    configuration.maxGain = kLimits.maxAnalogGain * kLimits.maxDigitalGain;
    configuration.width = stream.width;
    configuration.height = stream.height;
    configuration.pixelFormat = stream.pixelFormat;
    configuration.slots = slotsOf(stream);
    return configuration;
}

Hidl::CameraPerSlotConfiguration slotConfiguration(const CameraStreamPlan& stream,
                                                   const CameraPlan& camera) {
    Hidl::CameraPerSlotConfiguration configuration{};
    configuration.cameraId = camera.id;
    configuration.frameType = stream.frameType;
    configuration.analogGain = kAutomaticExposure.analogGain;
    configuration.digitalGain = kAutomaticExposure.digitalGain;
    configuration.cropWidth = stream.width;
    configuration.cropHeight = stream.height;
    return configuration;
}

Hidl::MuxState stateOf(const Servers& servers, const MuxModePlan& mode, uint32_t header,
                       int64_t since) {
    std::vector<Hidl::CameraGlobalConfiguration> globals;
    std::vector<std::vector<Hidl::CameraPerSlotConfiguration>> slots(kSlots);
    for (const auto& server : servers) {
        const CameraStreamPlan& stream = server->plan();
        if (!serves(mode, stream.purpose)) {
            continue;
        }
        for (const CameraPlan& camera : stream.cameras) {
            globals.push_back(globalConfiguration(stream, camera));
            for (uint32_t slot = 0; slot < kSlots; ++slot) {
                if ((slotsOf(stream) >> slot & 1) != 0) {
                    slots[slot].push_back(slotConfiguration(stream, camera));
                }
            }
        }
    }
    Hidl::MuxState state{};
    state.header = header;
    state.value = static_cast<uint64_t>(since);
    state.muxMode.name = mode.name;
    state.muxMode.secondaryName = mode.fallback;
    state.muxMode.purposes =
        std::vector<android::hardware::hidl_string>(mode.purposes.begin(), mode.purposes.end());
    state.muxMode.purposeData = purposeDataOf(servers, mode);
    if (const MuxModePlan* fallback = findPlan(mode.fallback)) {
        state.muxMode.secondaryPurposeData = purposeDataOf(servers, *fallback);
    }
    state.globalConfigurations = globals;
    state.slotConfigurations.resize(kSlots);
    for (uint32_t slot = 0; slot < kSlots; ++slot) {
        state.slotConfigurations[slot] = slots[slot];
    }
    return state;
}

}  // namespace

MuxControl::MuxControl(std::vector<android::sp<FrameSetServer>> servers,
                       std::shared_ptr<const WorldClock> clock)
    : servers_(std::move(servers)),
      clock_(std::move(clock)),
      state_(stateOf(servers_, *findPlan(kFirstMode), 1, 0)) {
    for (const auto& server : servers_) {
        server->setMux(state_.header, 0, true);
    }
}

Hidl::Result MuxControl::apply(const std::string& mode, uint8_t transition) {
    const MuxModePlan* const plan = findPlan(mode);
    if (plan == nullptr || transition > 1) {
        ALOGW("refused mux mode '%.64s', transition %u", mode.c_str(), transition);
        return Hidl::Result::FAILURE;
    }
    const std::lock_guard applying{applyMutex_};
    const int64_t since = beginOf(transition, clock_->now());
    Hidl::MuxState state;
    {
        const std::lock_guard lock{mutex_};
        if (plan->name == state_.muxMode.name.c_str()) {
            return Hidl::Result::SUCCESS;
        }
        state_ = stateOf(servers_, *plan, state_.header + 1, since);
        state = state_;
    }
    ALOGI("mux mode %s", plan->name.c_str());
    // Notifies clients first, so that they know the state before its first frame set.
    for (const auto& server : servers_) {
        for (const auto& callback : server->callbacks()) {
            // A failure means that the client has just died.
            static_cast<void>(callback->handleCameraConfigUpdate(state).isOk());
        }
    }
    for (const auto& server : servers_) {
        server->setMux(state.header, since, serves(*plan, server->plan().purpose));
    }
    return Hidl::Result::SUCCESS;
}

Hidl::Result MuxControl::addCallback(FrameSetServer& server,
                                     const android::sp<Hidl::ISensorClient>& identity,
                                     const android::sp<Hidl::IFrameConfigCallback>& callback,
                                     Hidl::MuxState* state) {
    const std::lock_guard lock{mutex_};
    *state = state_;
    return server.addCallback(identity, callback);
}

}  // namespace Simulator
