// KivraRpc messages over the HAL's Tambril interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/tamb_stream.h>
#include <vendor/zelvan/hardware/sensors/1.0/ITambril.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "foundation/hal.h"
#include "foundation/hal_death_recipient.h"
#include "os/mutex.h"

namespace Vek::Sensors::HidlWrapper {

/// The lock is held for a whole call, including the HAL call: exclusively to register and
/// unregister, shared to send. Incoming messages do not take it.
class TambStream : public ITambStream {
  public:
    explicit TambStream(gsl::not_null<android::sp<Hidl::ITambril>> hal);

    void registerKivraRpcClient(std::string clientId, KivraRpcMsgCallback callback) override;
    void unregisterKivraRpcClient(std::string clientId) override;
    bool sendKivraRpcMsg(const ControllerAddr& address, uint32_t procedure,
                         std::vector<uint8_t>& payload) override;
    int64_t getTimeTranslation(int64_t time, TimeDomain from, TimeDomain to) override;

  private:
    /// Null while no client is registered.
    android::sp<Hidl::ITambrilCallback> callback_ VEK_GUARDED_BY(mutex_);
    OS::SharedMutex mutex_;
    gsl::not_null<android::sp<Hidl::ITambril>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
};

}  // namespace Vek::Sensors::HidlWrapper
