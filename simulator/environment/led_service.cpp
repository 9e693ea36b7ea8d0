// See led_service.h.
#include "environment/led_service.h"

#include <fmt/format.h>
#include <hidl/HidlTransportSupport.h>
#include <log/log.h>

#include <algorithm>

namespace Simulator {
namespace {

struct LedGroup {
    Hal::FaceEyeTrackingLedGroup group;
    uint8_t channels;
};
constexpr LedGroup kGroups[] = {{Hal::FaceEyeTrackingLedGroup::LEFT_EYE, 8},
                                {Hal::FaceEyeTrackingLedGroup::RIGHT_EYE, 8},
                                {Hal::FaceEyeTrackingLedGroup::FACE, 4}};

// How the service's own control has every LED.
constexpr uint32_t kOwnCurrent = 20'000;
constexpr uint32_t kOwnPulseWidth = 400;

uint8_t channelsOf(Hal::FaceEyeTrackingLedGroup group) {
    const auto* const found = std::find_if(std::begin(kGroups), std::end(kGroups),
                                           [&](const LedGroup& g) { return g.group == group; });
    return found == std::end(kGroups) ? 0 : found->channels;
}

bool isPossible(const Hal::FaceEyeTrackingLedConfiguration& led) {
    return led.channel < channelsOf(led.group) && led.current <= LedService::kMaxCurrent &&
           led.pulseWidth <= LedService::kMaxPulseWidth;
}

}  // namespace

LedService::Return<Hal::Result> LedService::setConfigurations(
    const Identity& identity, const android::hardware::hidl_vec<Configuration>& configurations) {
    const Hal::Result fault = faultOf("setConfigurations");
    if (fault != Hal::Result::SUCCESS) {
        return fault;
    }
    const auto bad = std::find_if_not(configurations.begin(), configurations.end(), isPossible);
    if (bad != configurations.end()) {
        ALOGW("LEDs: refused %s %u at %u uA for %u us", toString(bad->group).c_str(), bad->channel,
              bad->current, bad->pulseWidth);
        return Hal::Result::FAILURE;
    }
    if (!admit(identity)) {
        return Hal::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    const ClientPointer client = findLocked(identity);
    if (client == nullptr) {
        return Hal::Result::FAILURE;  // it died just now
    }
    if (overriddenBy_ != nullptr && overriddenBy_ != client) {
        return Hal::Result::BAD_STATE;
    }
    for (const Configuration& led : configurations) {
        client->configurations[{led.group, led.channel}] = led;
    }
    return overriddenBy_ == client ? Hal::Result::SUCCESS : Hal::Result::IGNORED;
}

LedService::Return<Hal::Result> LedService::enable(const Identity& identity) {
    const Hal::Result fault = faultOf("enable");
    return fault == Hal::Result::SUCCESS ? switchTo(true, identity) : fault;
}

LedService::Return<Hal::Result> LedService::disable(const Identity& identity) {
    const Hal::Result fault = faultOf("disable");
    return fault == Hal::Result::SUCCESS ? switchTo(false, identity) : fault;
}

Hal::Result LedService::switchTo(bool isOn, const Identity& identity) {
    if (!admit(identity)) {
        return Hal::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    const ClientPointer client = findLocked(identity);
    if (client == nullptr) {
        return Hal::Result::FAILURE;  // it died just now
    }
    if ((switchedOnBy_ != nullptr) == isOn) {
        return Hal::Result::IGNORED;
    }
    switchedOnBy_ = isOn ? client : nullptr;
    ALOGI("LEDs: %s switched them %s", client->name.c_str(), isOn ? "on" : "off");
    return Hal::Result::SUCCESS;
}

LedService::Return<uint8_t> LedService::getChannelCount(Hal::FaceEyeTrackingLedGroup group) {
    return faultOf("getChannelCount") == Hal::Result::SUCCESS ? channelsOf(group) : uint8_t{0};
}

LedService::Return<Hal::Result> LedService::startOverridingLedSettings(const Identity& identity) {
    const Hal::Result fault = faultOf("startOverridingLedSettings");
    if (fault != Hal::Result::SUCCESS) {
        return fault;
    }
    if (!admit(identity)) {
        return Hal::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    const ClientPointer client = findLocked(identity);
    if (client == nullptr) {
        return Hal::Result::FAILURE;  // it died just now
    }
    if (overriddenBy_ != nullptr) {
        return overriddenBy_ == client ? Hal::Result::IGNORED : Hal::Result::BAD_STATE;
    }
    overriddenBy_ = client;
    ALOGI("LEDs: %s overrides them", client->name.c_str());
    return Hal::Result::SUCCESS;
}

LedService::Return<Hal::Result> LedService::stopOverridingLedSettings(const Identity& identity) {
    const Hal::Result fault = faultOf("stopOverridingLedSettings");
    if (fault != Hal::Result::SUCCESS) {
        return fault;
    }
    const std::lock_guard lock{mutex_};
    const ClientPointer client = findLocked(identity);
    if (client == nullptr || overriddenBy_ != client) {
        return Hal::Result::BAD_STATE;
    }
    overriddenBy_ = nullptr;
    ALOGI("LEDs: %s no longer overrides them", client->name.c_str());
    return Hal::Result::SUCCESS;
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

/// Sees to it that the client has a record. False, with a log line, if it cannot have one.
bool LedService::admit(const Identity& identity) {
    if (identity == nullptr) {
        ALOGW("LEDs: refused a call without a client");
        return false;
    }
    {
        const std::lock_guard lock{mutex_};
        if (findLocked(identity) != nullptr) {
            return true;
        }
    }
    const auto client = std::make_shared<Client>(identity);
    client->name = describeCaller(identity);
    client->deathRecipient = new ClientDeathRecipient(
        [service = android::wp<LedService>(this), dead = std::weak_ptr<Client>(client)] {
            if (const android::sp<LedService> self = service.promote()) {
                self->forget(dead);
            }
        });
    ClientPointer displaced;  // goes when the lock is free: then its process is told
    {
        const std::lock_guard lock{mutex_};
        // Another call of the same client may have been faster.
        if (findLocked(identity) != nullptr) {
            return true;
        }
        clients_.push_back(client);
        if (clients_.size() > kMaxClients) {
            displaced = takeIdleLocked();
        }
    }
    // Only now that the client is in the list does its death find it there.
    if (!identity->linkToDeath(client->deathRecipient, 0).withDefault(false)) {
        ALOGW("LEDs: refused %s: it is dead", client->name.c_str());
        forget(client);
        return false;
    }
    return true;
}

/// Takes the oldest client that changes nothing of how the LEDs shine out of the list. Only two
/// change something.
LedService::ClientPointer LedService::takeIdleLocked() {
    const auto idle = std::find_if(clients_.begin(), clients_.end(), [&](const auto& client) {
        return client != switchedOnBy_ && client != overriddenBy_;
    });
    const ClientPointer taken = *idle;
    clients_.erase(idle);
    return taken;
}

LedService::ClientPointer LedService::findLocked(const Identity& identity) const {
    const auto found =
        std::find_if(clients_.begin(), clients_.end(), [&](const ClientPointer& client) {
            return android::hardware::interfacesEqual(client->identity, identity);
        });
    return found == clients_.end() ? nullptr : *found;
}

void LedService::forget(const std::weak_ptr<Client>& dead) {
    // Holds the client until the lock is free: its process is told when its object goes.
    const ClientPointer client = dead.lock();
    const std::lock_guard lock{mutex_};
    clients_.erase(std::remove(clients_.begin(), clients_.end(), client), clients_.end());
    if (client != nullptr && switchedOnBy_ == client) {
        switchedOnBy_ = nullptr;
        ALOGI("LEDs: off, because %s is gone", client->name.c_str());
    }
    if (client != nullptr && overriddenBy_ == client) {
        overriddenBy_ = nullptr;
        ALOGI("LEDs: no longer overridden, because %s is gone", client->name.c_str());
    }
}

}  // namespace Simulator
