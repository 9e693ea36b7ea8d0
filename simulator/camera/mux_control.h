// Shares the cameras among their purposes, and notifies clients of changes.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFrameConfigCallback.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "camera/frame_set_server.h"

namespace Simulator {

/// A mode's cycle has two slots, each of one frame set at 60 Hz; cameras with lower rates are used
/// in the first slot only. A stream whose purpose the mode does not serve has no frame sets.
///
/// Threading: any thread. A client that does not listen delays changes of the mode, but no frame
/// set and no registration of another client.
class MuxControl {
  public:
    static constexpr char kFirstMode[] = "mixed-reality";
    static constexpr uint32_t kSlots = 2;

    MuxControl(std::vector<android::sp<FrameSetServer>> servers,
               std::shared_ptr<const WorldClock> clock);

    /// @param transition 0: switches at the end of the cycle, 1: at once
    /// @return FAILURE for an unknown mode or transition
    Hidl::Result apply(const std::string& mode, uint8_t transition);

    /// Like FrameSetServer::addCallback. @param state receives the current state
    Hidl::Result addCallback(FrameSetServer& server,
                             const android::sp<Hidl::ISensorClient>& identity,
                             const android::sp<Hidl::IFrameConfigCallback>& callback,
                             Hidl::MuxState* state);

  private:
    const std::vector<android::sp<FrameSetServer>> servers_;
    const std::shared_ptr<const WorldClock> clock_;
    std::mutex applyMutex_;  // serialises changes; locked before mutex_
    std::mutex mutex_;
    Hidl::MuxState state_;  // guarded by mutex_
};

}  // namespace Simulator
