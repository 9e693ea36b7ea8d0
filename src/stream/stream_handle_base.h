// What a composite stream needs of the streams that it drives.
#pragma once

#include <fmq/EventFlag.h>
#include <hidl/HidlSupport.h>

#include <cstdint>

namespace Vek::Sensors::HidlWrapper {

/// Driven by the thread that waits on the composite.
class StreamHandleBase {
  public:
    virtual ~StreamHandleBase() = default;

    /// Hands the stream's queue to the service, together with how the two ends signal each other.
    /// Called once each time the stream is added to a composite.
    /// @param eventFlag stays owned by the composite.
    virtual void prepareStream(android::hardware::hidl_handle eventFlagHandle,
                               android::hardware::EventFlag* eventFlag, uint32_t readNotifyBit,
                               uint32_t dataReadyBit) = 0;

    /// Drains the queue into the client's callback.
    /// @return true if there were records.
    virtual bool read() = 0;
};

}  // namespace Vek::Sensors::HidlWrapper
