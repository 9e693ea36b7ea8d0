#include "environment/led_service.h"

#include <fmt/format.h>
#include <log/log.h>

#include <algorithm>
#include <cstdint>
#include <mutex>

namespace Simulator {
namespace {

struct LedGroup {
    Hidl::FaceEyeTrackingLedGroup group;
    uint8_t channels;
};
constexpr LedGroup kGroups[] = {{Hidl::FaceEyeTrackingLedGroup::LEFT_EYE, 8},
                                {Hidl::FaceEyeTrackingLedGroup::RIGHT_EYE, 8},
                                {Hidl::FaceEyeTrackingLedGroup::FACE, 4}};

// Settings of every LED under the service's own control.
constexpr uint32_t kOwnCurrent = 20'000;
constexpr uint32_t kOwnPulseWidth = 400;

uint8_t channelsOf(Hidl::FaceEyeTrackingLedGroup group) {
    const auto* const found = std::find_if(std::begin(kGroups), std::end(kGroups),
                                           [&](const LedGroup& g) { return g.group == group; });
    return found == std::end(kGroups) ? 0 : found->channels;
}

bool isPossible(const Hidl::FaceEyeTrackingLedConfiguration& led) {
    return led.channel < channelsOf(led.group) && led.current <= LedService::kMaxCurrent &&
           led.pulseWidth <= LedService::kMaxPulseWidth;
}

}  // namespace

/// Calls `action`, under the lock, with the record of the client.
/// @return the result of `action`; FAILURE if the client cannot have a record
template <typename Action>
Hidl::Result LedService::withClient(const ClientIdentity& identity, const Action& action) {
    if (!admit(identity)) {
        return Hidl::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    const ClientPointer client = findLocked(identity);
    // Null if the client has just died.
    return client == nullptr ? Hidl::Result::FAILURE : action(client);
}

Return<Hidl::Result> LedService::setConfigurations(
    const ClientIdentity& identity,
    const android::hardware::hidl_vec<Configuration>& configurations) {
    return withClient(identity, [&](const ClientPointer& client) {
        const auto bad = std::find_if_not(configurations.begin(), configurations.end(), isPossible);
        if (bad != configurations.end()) {
            ALOGW("LEDs: refused %s %u at %u uA for %u us", toString(bad->group).c_str(),
                  bad->channel, bad->current, bad->pulseWidth);
            return Hidl::Result::FAILURE;
        }
        if (overriddenBy_ != nullptr && overriddenBy_ != client) {
            return Hidl::Result::BAD_STATE;
        }
        for (const Configuration& led : configurations) {
            client->configurations[{led.group, led.channel}] = led;
        }
        return overriddenBy_ == client ? Hidl::Result::SUCCESS : Hidl::Result::IGNORED;
    });
}

Return<Hidl::Result> LedService::enable(const ClientIdentity& identity) {
    return switchTo(true, identity);
}

Return<Hidl::Result> LedService::disable(const ClientIdentity& identity) {
    return switchTo(false, identity);
}

Hidl::Result LedService::switchTo(bool isOn, const ClientIdentity& identity) {
    return withClient(identity, [&](const ClientPointer& client) {
        if ((switchedOnBy_ != nullptr) == isOn) {
            return Hidl::Result::IGNORED;
        }
        switchedOnBy_ = isOn ? client : nullptr;
        ALOGI("LEDs: %s switched them %s", client->name.c_str(), isOn ? "on" : "off");
        return Hidl::Result::SUCCESS;
    });
}

Return<uint8_t> LedService::getChannelCount(Hidl::FaceEyeTrackingLedGroup group) {
    return channelsOf(group);
}

Return<Hidl::Result> LedService::startOverridingLedSettings(const ClientIdentity& identity) {
    return withClient(identity, [&](const ClientPointer& client) {
        if (overriddenBy_ != nullptr) {
            return overriddenBy_ == client ? Hidl::Result::IGNORED : Hidl::Result::BAD_STATE;
        }
        overriddenBy_ = client;
        ALOGI("LEDs: %s overrides them", client->name.c_str());
        return Hidl::Result::SUCCESS;
    });
}

Return<Hidl::Result> LedService::stopOverridingLedSettings(const ClientIdentity& identity) {
    const std::lock_guard lock{mutex_};
    const ClientPointer client = findLocked(identity);
    if (client == nullptr || overriddenBy_ != client) {
        return Hidl::Result::BAD_STATE;
    }
    overriddenBy_ = nullptr;
    ALOGI("LEDs: %s no longer overrides them", client->name.c_str());
    return Hidl::Result::SUCCESS;
}

std::vector<LedService::Configuration> LedService::shining() const {
    const std::lock_guard lock{mutex_};
    std::vector<Configuration> leds;
    if (switchedOnBy_ == nullptr) {
        return leds;
    }
    for (const LedGroup& g : kGroups) {
        for (uint32_t channel = 0; channel < g.channels; ++channel) {
            leds.push_back({g.group, channel, kOwnCurrent, kOwnPulseWidth});
            if (overriddenBy_ == nullptr) {
                continue;
            }
            const auto found = overriddenBy_->configurations.find({g.group, channel});
            if (found != overriddenBy_->configurations.end()) {
                leds.back() = found->second;
            }
        }
    }
    return leds;
}

std::string LedService::summary() const {
    const std::lock_guard lock{mutex_};
    return fmt::format("LEDs: {}, {}", switchedOnBy_ == nullptr ? "off" : "on",
                       overriddenBy_ == nullptr ? "under the service's own control"
                                                : "overridden by " + overriddenBy_->name);
}

/// Creates the client's record if it has none. @return false, with a log line, if it cannot have
/// one
bool LedService::admit(const ClientIdentity& identity) {
    {
        const std::lock_guard lock{mutex_};
        if (findLocked(identity) != nullptr) {
            return true;
        }
    }
    const auto client = std::make_shared<LedClient>(identity);
    ClientPointer displaced;
    const Refusal refusal = enrol(client, [&] {
        // A concurrent call of the same client may have created it.
        const bool isKnown = findLocked(identity) != nullptr;
        if (!isKnown && isFullLocked(client->process)) {
            displaced = takeIdleLocked(client->process);
        }
        return isKnown ? Refusal::IS_KNOWN : Refusal::NONE;
    });
    if (displaced != nullptr) {
        release(displaced, "has changed nothing");
    }
    if (refusal == Refusal::NONE || refusal == Refusal::IS_KNOWN) {
        return true;
    }
    ALOGW("LEDs: refused %s: %s", client->name.c_str(), textOf(refusal).c_str());
    return false;
}

/// Removes the oldest client that does not affect the LEDs from the list, preferably one of the
/// process. At most two clients affect the LEDs.
LedService::ClientPointer LedService::takeIdleLocked(int process) {
    const auto isIdle = [this](const LedClient& client) {
        return &client != switchedOnBy_.get() && &client != overriddenBy_.get();
    };
    const ClientPointer own = takeOldestLocked(
        [&](const LedClient& client) { return client.process == process && isIdle(client); });
    return own == nullptr ? takeOldestLocked(isIdle) : own;
}

void LedService::onRemovedLocked(LedClient& client) {
    if (switchedOnBy_.get() == &client) {
        switchedOnBy_ = nullptr;
        ALOGI("LEDs: off, because %s is gone", client.name.c_str());
    }
    if (overriddenBy_.get() == &client) {
        overriddenBy_ = nullptr;
        ALOGI("LEDs: no longer overridden, because %s is gone", client.name.c_str());
    }
}

}  // namespace Simulator
