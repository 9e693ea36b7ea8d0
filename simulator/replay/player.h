// The thread that plays one stream of a recording.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "replay/playback_timeline.h"

namespace Simulator {

/// Iterates over the records of one stream. Methods throw Recording::Error, with file and line, if
/// a record cannot be read. Threading: one thread at a time.
class PlayedRecords {
  public:
    virtual ~PlayedRecords() = default;

    /// When the current record is due, in ns of the recording; empty after the last one.
    virtual std::optional<int64_t> time() const = 0;
    /// Moves on to the next record.
    virtual void advance() = 0;
    /// Moves back to the first record.
    virtual void rewind() = 0;
    /// Writes the current record to the clients.
    /// @param shift added to all of its times, in ns
    /// @param isFirst whether it is the first record of a repetition
    virtual void deliver(int64_t shift, bool isFirst) = 0;
};

/// Plays while a client listens. A client that starts late gets only the records from then on,
/// unless clients pace the world: then no record is skipped, and the other streams wait for one
/// that starts late. At the end of the recording it stops, or starts again if looped.
///
/// Threading: every method may be called from any thread but its own. The records are used on the
/// player's thread, without a lock.
class Player {
  public:
    /// @param name of the stream, for log lines
    Player(std::string name, std::shared_ptr<PlaybackTimeline> timeline, PlayedRecords& records);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void setListened(bool isListened);
    /// Ends the thread, permanently.
    void stop();

    uint64_t played() const;

  private:
    void run();
    void play(std::unique_lock<std::mutex>& lock);
    bool playNextLocked(std::unique_lock<std::mutex>& lock, WorldClock::Time from);
    bool isToStandStillLocked() const { return isStopped_ || !isListened_; }
    void interrupt();

    const std::string name_;
    const std::shared_ptr<PlaybackTimeline> timeline_;
    const WorldClock::SamplerId id_;
    PlayedRecords& records_;
    mutable std::mutex mutex_;  // guards what follows but the thread
    std::condition_variable changed_;
    bool isListened_ = false;
    bool isStopped_ = false;
    uint64_t played_ = 0;
    // Used only by the player's thread.
    uint32_t pass_ = 0;
    bool isPassBegun_ = false;
    bool isOver_ = false;
    std::thread thread_;
};

}  // namespace Simulator
