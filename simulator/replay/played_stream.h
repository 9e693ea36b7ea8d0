// One stream of a recording with its clients.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "replay/player.h"
#include "replay/recorded_stream.h"
#include "stream_clients.h"

namespace Simulator {

/// One part of a playback. Plays while a client has started the stream and the part is switched on.
class PlayedPart {
  public:
    PlayedPart() = default;
    virtual ~PlayedPart() = default;
    PlayedPart(const PlayedPart&) = delete;
    PlayedPart& operator=(const PlayedPart&) = delete;

    virtual void setStarted(bool isStarted) = 0;
    virtual void setOn(bool isOn) = 0;
    /// Stops playing, permanently.
    virtual void stop() = 0;
    /// A line for the user.
    virtual std::string summary() const = 0;
};

/// Plays the records of a stream, or those of one controller.
template <typename Record>
class PlayedStream final : public PlayedPart {
  public:
    using Clients = StreamClients<Record>;
    using Deliver = std::function<void(const Record&)>;

    /// Throws Recording::Error if the stream's file cannot be read.
    /// @param clients if they pace the world, each record waits until they have room
    /// @param deliver called on the player's thread
    /// @param controller plays only this controller's records; empty: all
    PlayedStream(const Recording::Reader& recording, const Recording::StreamInfo& stream,
                 const std::shared_ptr<PlaybackTimeline>& timeline, android::sp<Clients> clients,
                 Deliver deliver, bool isOn = true, std::optional<uint64_t> controller = {})
        : clients_(std::move(clients)),
          isPacedByClients_(timeline->clock().isPacedByClients()),
          isOn_(isOn),
          records_(
              recording, stream,
              [this, deliver = std::move(deliver)](const Record& record,
                                                   const Record& /*recorded*/) {
                  if (!isPacedByClients_ || clients_->awaitRoom(1)) {
                      deliver(record);
                  }
              },
              controller),
          player_(stream.name, timeline, records_) {}

    const android::sp<Clients>& clients() const { return clients_; }

    void setStarted(bool isStarted) override {
        const std::lock_guard lock{mutex_};
        isStarted_ = isStarted;
        player_.setListened(isStarted_ && isOn_);
    }
    void setOn(bool isOn) override {
        const std::lock_guard lock{mutex_};
        isOn_ = isOn;
        player_.setListened(isStarted_ && isOn_);
    }
    void stop() override {
        clients_->endWaits();
        player_.stop();
    }
    std::string summary() const override { return summaryOf(*clients_); }

  private:
    const android::sp<Clients> clients_;
    const bool isPacedByClients_;
    std::mutex mutex_;  // guards what follows up to the records
    bool isStarted_ = false;
    bool isOn_;
    RecordedStream<Record> records_;
    Player player_;  // the last: its thread uses all of the others
};

}  // namespace Simulator
