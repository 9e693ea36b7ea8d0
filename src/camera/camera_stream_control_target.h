// Names a stream and its client to the service.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/ICameraStreamControlTarget.h>

#include <utility>

#include "foundation/hal.h"

namespace Vek::Sensors::HidlWrapper {

/// Immutable; the service calls it on HIDL threads.
class CameraStreamControlTarget : public Hidl::ICameraStreamControlTarget {
  public:
    CameraStreamControlTarget(android::sp<Hidl::ICameraStream> stream,
                              android::sp<Hidl::ISensorClient> client)
        : stream_(std::move(stream)), client_(std::move(client)) {}

    android::hardware::Return<android::sp<Hidl::ICameraStream>> getStream() override {
        return stream_;
    }
    android::hardware::Return<android::sp<Hidl::ISensorClient>> getClient() override {
        return client_;
    }

  private:
    const android::sp<Hidl::ICameraStream> stream_;
    const android::sp<Hidl::ISensorClient> client_;
};

}  // namespace Vek::Sensors::HidlWrapper
