// KivraRpc: the controllers that answer, and the HAL interface that reaches them.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/ITambril.h>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client_identity.h"
#include "environment/environment_settings.h"
#include "faults.h"
#include "hal.h"
#include "sampler.h"

namespace Simulator {

/// The controllers echo every request, or answer with an error if they were told to refuse it, and
/// send messages of their own accord. A client is registered until it unregisters or dies.
///
/// Threading: every method may be called from any thread.
class TambrilService : public Hal::ITambril {
  public:
    template <typename T>
    using Return = android::hardware::Return<T>;
    using Callback = android::sp<Hal::ITambrilCallback>;

    static constexpr uint32_t kProtocolVersion = 1;
    static constexpr uint32_t kMaxPayloadSize = 8192;  // in bytes
    static constexpr std::array<uint64_t, 2> kControllers{1, 2};
    /// Procedure of the messages that nobody asked for.
    static constexpr uint32_t kStatusProcedure = 0x1000;

    TambrilService(EnvironmentSettings settings, std::shared_ptr<const Faults> faults);

    Return<uint32_t> getProtocolVersion() override { return kProtocolVersion; }
    Return<uint32_t> getMaxPayloadSize() override { return kMaxPayloadSize; }
    Return<Hal::Result> registerClient(Hal::KivraRpcClientId id, const Callback& callback) override;
    Return<Hal::Result> unregisterClient(Hal::KivraRpcClientId id) override;
    Return<Hal::Result> sendMessage(const Callback& callback, const Hal::ControllerAddr& address,
                                    uint32_t procedure,
                                    const android::hardware::hidl_vec<uint8_t>& payload) override;
    Return<int64_t> translateTime(int64_t time, Hal::TimeDomain from, Hal::TimeDomain to) override;

    /// No more messages unasked, for good.
    void stop() { notifier_.stop(); }

    /// A line for the user.
    std::string summary() const;

  private:
    struct Client {
        Client(Hal::KivraRpcClientId clientId, const Callback& function)
            : id(clientId), callback(function) {}

        const Hal::KivraRpcClientId id;
        const Callback callback;
        std::string name;
        int process = 0;
        android::sp<ClientDeathRecipient> deathRecipient;
        std::mutex deliveryMutex;  // keeps its messages in order
    };
    using ClientPointer = std::shared_ptr<Client>;

    Hal::Result faultOf(const char* method) const { return faults_->resultOf(descriptor, method); }

    ClientPointer findLocked(Hal::KivraRpcClientId id) const;
    /// False if it was not there.
    bool remove(const ClientPointer& client);
    void release(const ClientPointer& client, const char* reason) const;
    void deliver(Client* client, Hal::KivraRpcMessage message);
    void notify(uint32_t number);

    const EnvironmentSettings settings_;
    const std::shared_ptr<const Faults> faults_;
    std::array<std::atomic<uint32_t>, kControllers.size()> sequences_{};
    std::atomic<uint64_t> requests_{0};
    std::atomic<uint64_t> messages_{0};
    mutable std::mutex mutex_;  // guards the clients
    std::vector<ClientPointer> clients_;
    Sampler notifier_;  // the last: its thread uses all of the others
};

}  // namespace Simulator
