// Who a client is, and word of its death.
#pragma once

#include <hidl/HidlSupport.h>
#include <vendor/zelvan/hardware/sensors/1.0/ISensorClient.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "hal.h"

namespace Simulator {

/// The object that a client is known by.
using ClientIdentity = android::sp<Hidl::ISensorClient>;

/// The process whose call this thread serves.
int callingProcess();

/// The client's name and its process, for log lines. Calls the client: on the thread that serves a
/// call of it, without a lock.
std::string describeCaller(const ClientIdentity& client);

/// Calls a function, on a HIDL thread, when the object that it is linked to has died.
class ClientDeathRecipient : public android::hardware::hidl_death_recipient {
  public:
    explicit ClientDeathRecipient(std::function<void()> onDeath) : onDeath_(std::move(onDeath)) {}

    void serviceDied(uint64_t /*cookie*/,
                     const android::wp<android::hidl::base::V1_0::IBase>& /*who*/) override {
        onDeath_();
    }

  private:
    const std::function<void()> onDeath_;
};

}  // namespace Simulator
