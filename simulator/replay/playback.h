// A recording that is played back: its streams, timeline and faults.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "faults.h"
#include "recording/reader.h"
#include "replay/played_stream.h"
#include "replay/replay_options.h"

namespace Simulator {

struct Playback {
    std::shared_ptr<const Recording::Reader> recording;
    /// The streams that are played.
    std::vector<Recording::StreamInfo> streams;
    /// The controllers that have records in these streams, by address.
    std::set<uint64_t> controllers;
    /// The cameras of a EuRoC data set, which has no streams of frame sets.
    bool areEurocCamerasPlayed = false;
    std::shared_ptr<PlaybackTimeline> timeline;
    std::shared_ptr<Faults> faults;

    /// @return null if the stream is not played
    const Recording::StreamInfo* find(std::string_view name) const;

    /// @return null if the stream is not played. Throws Recording::Error if it cannot be read
    template <typename Record>
    std::shared_ptr<PlayedStream<Record>> play(std::string_view name) const {
        const Recording::StreamInfo* const stream = find(name);
        if (stream == nullptr) {
            return nullptr;
        }
        const android::sp<StreamClients<Record>> clients =
            new StreamClients<Record>(stream->name, faults);
        const auto played = std::make_shared<PlayedStream<Record>>(
            *recording, *stream, timeline, clients,
            [clients](const Record& record) { clients->write({record}); });
        clients->onBatchLimit([part = played.get()](size_t limit) { part->setStarted(limit > 0); });
        return played;
    }
};

/// Opens the recording and reads all of its streams once, so that errors are reported before any
/// client starts. Throws Recording::Error, or std::runtime_error if there is nothing to play.
Playback openPlayback(const ReplayOptions& options, const std::shared_ptr<WorldClock>& clock,
                      const std::shared_ptr<Faults>& faults);

}  // namespace Simulator
