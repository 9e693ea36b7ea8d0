// How the cameras are shared among their purposes, and which clients are told of changes.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFrameConfigCallback.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "camera/frame_set_server.h"

namespace Simulator {

/// A mode's cycle has two slots, of a frame set at 60 Hz each; cameras of lower rates are used in
/// the first of them only. A stream whose purpose is not served has no frame sets.
///
/// Threading: any thread. A client that does not listen delays changes of the mode, but no frame
/// set and no registration of another client.
class MuxControl {
  public:
    static constexpr char kFirstMode[] = "mixed-reality";
    static constexpr uint32_t kSlots = 2;

    MuxControl(std::vector<android::sp<FrameSetServer>> servers,
               std::shared_ptr<const WorldClock> clock);

    /// @param transition 0 switches at the end of the cycle, 1 at once
    /// @return FAILURE for a mode or transition that there is not
    Hidl::Result apply(const std::string& mode, uint8_t transition);

    /// As FrameSetServer::addCallback. @param state receives the one in force
    Hidl::Result addCallback(FrameSetServer& server,
                             const android::sp<Hidl::ISensorClient>& identity,
                             const android::sp<Hidl::IFrameConfigCallback>& callback,
                             Hidl::MuxState* state);

  private:
    const std::vector<android::sp<FrameSetServer>> servers_;
    const std::shared_ptr<const WorldClock> clock_;
    std::mutex applyMutex_;  // one change after the other; taken before the other lock
    std::mutex mutex_;
    Hidl::MuxState state_;  // guarded by mutex_
};

}  // namespace Simulator
