// The queues through which the owner of the controllers' state sends poses.
#pragma once

#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "client_register.h"
#include "controller/controller_fleet.h"
#include "controller/pose_ledger.h"
#include "hal.h"

namespace Simulator {

/// A sender with its queue, which this side has made, and the thread that reads it.
class PoseSender : public RegisteredClient {
  public:
    using Queue =
        android::hardware::MessageQueue<Hal::PoseOutput, android::hardware::kSynchronizedReadWrite>;

    PoseSender(const android::sp<Hal::ISensorClient>& client,
               std::shared_ptr<ControllerFleet> fleet);
    ~PoseSender();
    PoseSender(const PoseSender&) = delete;
    PoseSender& operator=(const PoseSender&) = delete;

    /// Whether there was memory for its queue.
    bool isValid() const { return queue_.isValid() && eventFlag_ != nullptr; }
    const Queue::Descriptor& queue() const { return *queue_.getDesc(); }
    const Hal::FmqConfig& config() const { return config_; }

    void beginReading();
    /// Reads what is there, and no more from then on. One thread at a time.
    void endReading();

    PoseCounts counts() const;

    /// Guarded by the register's lock.
    bool isStarted = false;

  private:
    void run();
    void drain();

    const std::shared_ptr<ControllerFleet> fleet_;
    Queue queue_;
    Hal::FmqConfig config_;
    android::hardware::EventFlag* eventFlag_ = nullptr;
    std::atomic<bool> isEnding_{false};
    mutable std::mutex mutex_;  // guards the ledger
    PoseLedger ledger_;
    std::thread thread_;
};

/// Threading: calls and deaths on HIDL threads; each sender's poses on a thread of its own.
class PoseReceiver : public ClientRegister<PoseSender> {
  public:
    explicit PoseReceiver(std::shared_ptr<ControllerFleet> fleet) : fleet_(std::move(fleet)) {}

    /// @param sender null unless it succeeded
    /// @return BAD_STATE if the client has its queue already
    Hal::Result prepare(const android::sp<Hal::ISensorClient>& identity,
                        std::shared_ptr<PoseSender>* sender);
    Hal::Result control(const android::sp<Hal::ISensorClient>& identity,
                        Hal::StreamCommand command);

    /// Reads no more, for good.
    void stop();
    /// A line for the user.
    std::string summary() const;

  private:
    void onRelease(PoseSender& sender, const char* reason) override;

    const std::shared_ptr<ControllerFleet> fleet_;
    uint64_t senders_ = 0;
    PoseCounts ofReleased_;
};

}  // namespace Simulator
