// Interface between a composite stream and its streams.
#pragma once

#include <fmq/EventFlag.h>
#include <hidl/HidlSupport.h>

#include <cstdint>

namespace Vek::Sensors::HidlWrapper {

/// Called by the thread that waits on the composite.
class StreamHandleBase {
  public:
    virtual ~StreamHandleBase() = default;

    /// Sends the stream's queue, the event flag and the signal bits to the service. Called once
    /// each time the stream is added to a composite.
    /// @param eventFlag stays owned by the composite.
    virtual void prepareStream(android::hardware::hidl_handle eventFlagHandle,
                               android::hardware::EventFlag* eventFlag, uint32_t readNotifyBit,
                               uint32_t dataReadyBit) = 0;

    /// Drains the queue into the client's callback.
    /// @return whether there were records.
    virtual bool read() = 0;
};

}  // namespace Vek::Sensors::HidlWrapper
