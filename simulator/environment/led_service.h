// The illuminators of the face and eye tracking cameras, and their HAL interface.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFaceEyeTrackingLed.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client_identity.h"
#include "faults.h"
#include "hal.h"

namespace Simulator {

/// The LEDs shine as the service's own control has them, unless a client overrides it. What a
/// client set, switched on or overrode ends with its process.
///
/// Threading: every method may be called from any thread.
class LedService : public Hal::IFaceEyeTrackingLed {
  public:
    template <typename T>
    using Return = android::hardware::Return<T>;
    using Identity = android::sp<Hal::ISensorClient>;
    using Configuration = Hal::FaceEyeTrackingLedConfiguration;

    static constexpr uint32_t kMaxCurrent = 100'000;   // in uA
    static constexpr uint32_t kMaxPulseWidth = 2'000;  // in us
    static constexpr size_t kMaxClients = 64;

    explicit LedService(std::shared_ptr<const Faults> faults) : faults_(std::move(faults)) {}

    Return<Hal::Result> setConfigurations(
        const Identity& identity,
        const android::hardware::hidl_vec<Configuration>& configurations) override;
    Return<Hal::Result> enable(const Identity& identity) override;
    Return<Hal::Result> disable(const Identity& identity) override;
    Return<uint8_t> getChannelCount(Hal::FaceEyeTrackingLedGroup group) override;
    Return<Hal::Result> startOverridingLedSettings(const Identity& identity) override;
    Return<Hal::Result> stopOverridingLedSettings(const Identity& identity) override;

    /// How the LEDs shine right now; none while they are off.
    std::vector<Configuration> shining() const;

    /// A line for the user.
    std::string summary() const;

  private:
    using Led = std::pair<Hal::FaceEyeTrackingLedGroup, uint32_t>;

    struct Client {
        explicit Client(const Identity& client) : identity(client) {}

        const Identity identity;
        std::string name;
        android::sp<ClientDeathRecipient> deathRecipient;
        std::map<Led, Configuration> configurations;
    };
    using ClientPointer = std::shared_ptr<Client>;

    Hal::Result faultOf(const char* method) const { return faults_->resultOf(descriptor, method); }

    bool admit(const Identity& identity);
    ClientPointer takeIdleLocked();
    ClientPointer findLocked(const Identity& identity) const;
    void forget(const std::weak_ptr<Client>& dead);
    Hal::Result switchTo(bool isOn, const Identity& identity);

    const std::shared_ptr<const Faults> faults_;
    mutable std::mutex mutex_;  // guards everything below
    std::vector<ClientPointer> clients_;
    ClientPointer switchedOnBy_;
    ClientPointer overriddenBy_;
};

}  // namespace Simulator
