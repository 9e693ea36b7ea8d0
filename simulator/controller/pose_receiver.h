// The queues through which the owner of the controllers' state sends poses.
#pragma once

#include <fmq/MessageQueue.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "controller/controller_fleet.h"
#include "controller/pose_ledger.h"
#include "event_flag.h"
#include "hal.h"
#include "stream_register.h"

namespace Simulator {

/// One sender: its queue, which the service owns, and the thread that reads the queue.
class PoseSender : public StreamingParty {
  public:
    using Queue = android::hardware::MessageQueue<Hidl::PoseOutput,
                                                  android::hardware::kSynchronizedReadWrite>;

    PoseSender(const ClientIdentity& client, std::shared_ptr<ControllerFleet> fleet);
    ~PoseSender();
    PoseSender(const PoseSender&) = delete;
    PoseSender& operator=(const PoseSender&) = delete;

    Refusal refusal() const {
        return queue_.isValid() && eventFlag_ != nullptr ? Refusal::NONE : Refusal::NO_MEMORY;
    }
    const Queue::Descriptor& queue() const { return *queue_.getDesc(); }
    const Hidl::FmqConfig& config() const { return config_; }

    /// @return false if no thread can be started
    bool beginReading();
    /// Reads the waiting poses, then ends the thread.
    void endReading();

    PoseCounts counts() const;

  private:
    void run();
    /// @return number of poses read
    size_t drain();
    void refuseLocked(const char* problem);

    const std::shared_ptr<ControllerFleet> fleet_;
    Queue queue_;
    Hidl::FmqConfig config_;
    EventFlagPointer eventFlag_;
    std::atomic<bool> isEnding_{false};
    mutable std::mutex mutex_;  // guards the ledger
    PoseLedger ledger_;
    std::once_flag end_;
    std::thread thread_;
};

/// Threading: calls and deaths on HIDL threads; each sender's poses on a thread of its own.
class PoseReceiver : public StreamRegister<PoseSender> {
  public:
    explicit PoseReceiver(std::shared_ptr<ControllerFleet> fleet)
        : StreamRegister("poses"), fleet_(std::move(fleet)) {}

    /// @param sender null unless it succeeded
    /// @return BAD_STATE if the client already has a queue
    Hidl::Result prepare(const ClientIdentity& identity, std::shared_ptr<PoseSender>* sender);

    /// Stops reading, permanently. Calls of senders still succeed, because a refusal would end
    /// their processes.
    void stop();
    /// A line for the user.
    std::string summary() const;

  private:
    void onChangeLocked() override { fleet_->setTracked(isAnyStartedLocked()); }
    void onRelease(PoseSender& sender, const char* reason) override;

    const std::shared_ptr<ControllerFleet> fleet_;
    bool isStopped_ = false;
    uint64_t senders_ = 0;
    PoseCounts ofReleased_;
};

}  // namespace Simulator
