// Forwards changes of the mux state to the client.
#pragma once

#include <vek/sensors/camera_configuration.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFrameConfigCallback.h>

#include <functional>
#include <utility>

#include "camera/convert.h"

namespace Vek::Sensors::HidlWrapper {

/// The service keeps it alive and calls it on HIDL threads. Immutable and without a lock: the
/// client's function must be thread-safe.
class FrameSetConfigUpdateCallback : public Hidl::IFrameConfigCallback {
  public:
    using Callback = std::function<void(const FrameSetConfigurationUpdate&)>;

    explicit FrameSetConfigUpdateCallback(Callback callback) : callback_(std::move(callback)) {}

    android::hardware::Return<void> handleCameraConfigUpdate(const Hidl::MuxState& state) override {
        if (callback_) {
            callback_(Convert::fromHidl(state));
        }
        return android::hardware::Void();
    }

  private:
    const Callback callback_;
};

}  // namespace Vek::Sensors::HidlWrapper
