// Tells the HAL service who the client of a stream is.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/ISensorClient.h>

#include <string>
#include <utility>

#include "foundation/hal.h"

namespace Vek::Sensors::HidlWrapper {

/// Implements getSensorClientInfo() for every object that identifies a client to the service.
inline android::hardware::Return<void> answerSensorClientInfo(
    const std::string& name, const Hidl::ISensorClient::getSensorClientInfo_cb& callback) {
    Hidl::SensorClientInfo info;
    info.name = name;
    callback(Hidl::Result::SUCCESS, info);
    return android::hardware::Void();
}

/// Each stream has one of these and passes it with all of its calls, so that the service can match
/// them. Immutable; the service calls it on HIDL threads.
class SensorClient : public Hidl::ISensorClient {
  public:
    explicit SensorClient(std::string name) : name_(std::move(name)) {}

    android::hardware::Return<void> getSensorClientInfo(getSensorClientInfo_cb callback) override {
        return answerSensorClientInfo(name_, callback);
    }

  private:
    const std::string name_;
};

}  // namespace Vek::Sensors::HidlWrapper
