// Identity of a client, and notification of its death.
#pragma once

#include <hidl/HidlSupport.h>
#include <vendor/zelvan/hardware/sensors/1.0/ISensorClient.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "hal.h"

namespace Simulator {

/// The object that identifies a client.
using ClientIdentity = android::sp<Hidl::ISensorClient>;

/// Number of the process whose call this thread serves.
int callingProcess();

/// The client's name and process number, for log lines. Calls the client, so use it on a thread
/// that serves a call of that client, and without a lock.
std::string describeCaller(const ClientIdentity& client);

/// Calls a function on a HIDL thread when the object to which it is linked dies.
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
