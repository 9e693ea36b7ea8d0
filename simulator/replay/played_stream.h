// One stream of a recording with its clients.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "replay/player.h"
#include "replay/recorded_stream.h"
#include "stream_clients.h"

namespace Simulator {

/// A part of the playing that ends with the service.
class PlayedPart {
  public:
    PlayedPart() = default;
    virtual ~PlayedPart() = default;
    PlayedPart(const PlayedPart&) = delete;
    PlayedPart& operator=(const PlayedPart&) = delete;

    /// No more records, for good.
    virtual void stop() = 0;
    /// A line for the user.
    virtual std::string summary() const = 0;
};

/// Plays the records of a stream to all who have started it.
template <typename Record>
class PlayedStream final : public PlayedPart {
  public:
    using Clients = StreamClients<Record>;

    /// Throws Recording::Error if the stream's file cannot be read.
    PlayedStream(const Recording::Reader& recording, const Recording::StreamInfo& stream,
                 const std::shared_ptr<PlaybackTimeline>& timeline,
                 const std::shared_ptr<Faults>& faults)
        : clients_(new Clients(stream.name, faults)),
          isPacedByClients_(timeline->clock().isPacedByClients()),
          records_(recording, stream,
                   [this](const Record& record, const Record& /*recorded*/) { deliver(record); }),
          player_(stream.name, timeline, records_) {
        clients_->onBatchLimit([this](size_t limit) { player_.setListened(limit > 0); });
    }

    const android::sp<Clients>& clients() const { return clients_; }

    void stop() override {
        clients_->endWaits();
        player_.stop();
    }
    std::string summary() const override { return summaryOf(*clients_); }

  private:
    void deliver(const Record& record) {
        if (!isPacedByClients_ || clients_->awaitRoom(1)) {
            clients_->write({record});
        }
    }

    const android::sp<Clients> clients_;
    const bool isPacedByClients_;
    RecordedStream<Record> records_;
    Player player_;  // the last: its thread uses all of the others
};

}  // namespace Simulator
