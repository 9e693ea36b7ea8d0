// KivraRpc: the controllers that answer, and the HAL interface that reaches them.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/ITambril.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client_register.h"
#include "controller/controller_fleet.h"
#include "environment/environment_settings.h"
#include "sampler.h"
#include "service.h"

namespace Simulator {

struct RpcClient : RegisteredClient {
    /// @param notify called with the number of each message that is due; never before the
    /// notifier's batch limit is set
    /// @throws std::system_error if the notifier's thread cannot be started
    RpcClient(Hidl::KivraRpcClientId clientId, const android::sp<Hidl::ITambrilCallback>& function,
              uint32_t notificationRate, const std::shared_ptr<WorldClock>& clock,
              const std::function<void(RpcClient& client, uint32_t number)>& notify)
        : RegisteredClient(function),
          id(clientId),
          callback(function),
          notifier(
              {notificationRate, 1}, clock,
              [this, notify](const Batch& batch) { notify(*this, batch.firstSequence); },
              WorldClock::Role::FOLLOWS) {}

    const Hidl::KivraRpcClientId id;
    const android::sp<Hidl::ITambrilCallback> callback;
    std::mutex deliveryMutex;  // serialises deliveries, so that messages stay in order
    // Each client has its own notifier, because a client that takes no messages blocks its thread.
    // Last member: its thread uses all the others.
    Sampler notifier;
};

/// Paired controllers echo every request, or reply with an error to refused procedures, and also
/// send notifications. A client is registered until it unregisters or dies.
///
/// Threading: every method may be called from any thread.
class TambrilService : public Service<Hidl::ITambril>, public ClientRegister<RpcClient> {
  public:
    using Callback = android::sp<Hidl::ITambrilCallback>;

    static constexpr uint32_t kProtocolVersion = 1;
    static constexpr uint32_t kMaxPayloadSize = 8192;  // in bytes
    /// Procedure of notifications, which are sent without a request.
    static constexpr uint32_t kStatusProcedure = 0x1000;

    TambrilService(EnvironmentSettings settings, std::shared_ptr<ControllerFleet> controllers,
                   std::shared_ptr<WorldClock> clock);
    /// Ends the clients' threads before the members that they use are destroyed.
    ~TambrilService() override;

    Return<uint32_t> getProtocolVersion() override { return kProtocolVersion; }
    Return<uint32_t> getMaxPayloadSize() override { return kMaxPayloadSize; }
    Return<Hidl::Result> registerClient(Hidl::KivraRpcClientId id,
                                        const Callback& callback) override;
    Return<Hidl::Result> unregisterClient(Hidl::KivraRpcClientId id) override;
    Return<Hidl::Result> sendMessage(const Callback& callback, const Hidl::ControllerAddr& address,
                                     uint32_t procedure,
                                     const android::hardware::hidl_vec<uint8_t>& payload) override;
    Return<int64_t> translateTime(int64_t time, Hidl::TimeDomain from,
                                  Hidl::TimeDomain to) override;

    /// Stops the notifications.
    void stop();

    /// A line for the user.
    std::string summary() const;

  private:
    /// @return null if no client has this id
    ClientPointer findLocked(Hidl::KivraRpcClientId id) const;
    void onRelease(RpcClient& client, const char* reason) override;
    Hidl::KivraRpcMessage answerTo(const Hidl::ControllerAddr& address, uint32_t procedure,
                                   const android::hardware::hidl_vec<uint8_t>& payload) const;
    /// @return false if its controller is not paired
    bool deliver(RpcClient& client, Hidl::KivraRpcMessage message);
    void notify(RpcClient& client, uint32_t number);

    const EnvironmentSettings settings_;
    const std::shared_ptr<ControllerFleet> controllers_;
    const std::shared_ptr<WorldClock> clock_;
    bool isStopped_ = false;  // guarded by the register's lock
    std::atomic<uint64_t> requests_{0};
    std::atomic<uint64_t> messages_{0};
};

}  // namespace Simulator
