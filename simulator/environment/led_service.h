// The illuminators of the face and eye tracking cameras, and their HAL interface.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFaceEyeTrackingLed.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "client_register.h"
#include "service.h"

namespace Simulator {

struct LedClient : RegisteredClient {
    using RegisteredClient::RegisteredClient;

    /// By group and channel.
    std::map<std::pair<Hidl::FaceEyeTrackingLedGroup, uint32_t>,
             Hidl::FaceEyeTrackingLedConfiguration>
        configurations;
};

/// The service controls the LEDs unless a client overrides it. A client's settings, enabling and
/// override end with its process.
///
/// Threading: every method may be called from any thread.
class LedService : public Service<Hidl::IFaceEyeTrackingLed>, public ClientRegister<LedClient> {
  public:
    using Configuration = Hidl::FaceEyeTrackingLedConfiguration;

    static constexpr uint32_t kMaxCurrent = 100'000;   // in uA
    static constexpr uint32_t kMaxPulseWidth = 2'000;  // in us

    Return<Hidl::Result> setConfigurations(
        const ClientIdentity& identity,
        const android::hardware::hidl_vec<Configuration>& configurations) override;
    Return<Hidl::Result> enable(const ClientIdentity& identity) override;
    Return<Hidl::Result> disable(const ClientIdentity& identity) override;
    Return<uint8_t> getChannelCount(Hidl::FaceEyeTrackingLedGroup group) override;
    Return<Hidl::Result> startOverridingLedSettings(const ClientIdentity& identity) override;
    Return<Hidl::Result> stopOverridingLedSettings(const ClientIdentity& identity) override;

    /// The current settings of the LEDs; none while they are off.
    std::vector<Configuration> shining() const;

    /// A line for the user.
    std::string summary() const;

  private:
    bool admit(const ClientIdentity& identity);
    ClientPointer takeIdleLocked(int process);
    template <typename Action>
    Hidl::Result withClient(const ClientIdentity& identity, const Action& action);
    Hidl::Result switchTo(bool isOn, const ClientIdentity& identity);
    void onRemovedLocked(LedClient& client) override;

    // Guarded by the register's lock.
    ClientPointer switchedOnBy_;
    ClientPointer overriddenBy_;
};

}  // namespace Simulator
