// A player sleeps until its next record is due.
#include "replay/player.h"

#include <log/log.h>
#include <pthread.h>
#include <sys/prctl.h>

#include <exception>
#include <utility>

#include "hal.h"

namespace Simulator {

using Time = WorldClock::Time;

Player::Player(std::string name, std::shared_ptr<PlaybackTimeline> timeline, PlayedRecords& records)
    : name_(std::move(name)),
      timeline_(std::move(timeline)),
      id_(timeline_->clock().enrol()),
      records_(records),
      thread_([this] { run(); }) {}

Player::~Player() {
    stop();
}

void Player::setListened(bool isListened) {
    {
        const std::lock_guard lock{mutex_};
        isListened_ = isListened;
    }
    interrupt();
}

void Player::stop() {
    {
        const std::lock_guard lock{mutex_};
        isStopped_ = true;
    }
    interrupt();
    if (thread_.joinable()) {
        thread_.join();
    }
}

uint64_t Player::played() const {
    const std::lock_guard lock{mutex_};
    return played_;
}

void Player::interrupt() {
    changed_.notify_all();
    timeline_->clock().interrupt();
}

void Player::run() {
    pthread_setname_np(pthread_self(), "player");
    prctl(PR_SET_TIMERSLACK, 1UL);
    std::unique_lock lock{mutex_};
    while (!isStopped_) {
        changed_.wait(lock, [this] { return isStopped_ || (isListened_ && !isOver_); });
        try {
            play(lock);
        } catch (const std::exception& failure) {
            ALOGE("%s: playing ends: %s", name_.c_str(), failure.what());
            isOver_ = true;
            if (!lock.owns_lock()) {
                lock.lock();
            }
        }
        lock.unlock();
        timeline_->clock().leave(id_);
        lock.lock();
    }
}

/// Plays until no client listens any more, or the recording ends.
void Player::play(std::unique_lock<std::mutex>& lock) {
    if (isToStandStillLocked()) {
        return;
    }
    timeline_->start();
    const WorldClock& clock = timeline_->clock();
    const Time from = clock.isPacedByClients() ? clock.start() : clock.now();
    while (!isToStandStillLocked() && playNextLocked(lock, from)) {
    }
}

/// @param from skips records that were due before this time
/// @return false at the end of the recording
bool Player::playNextLocked(std::unique_lock<std::mutex>& lock, Time from) {
    WorldClock& clock = timeline_->clock();
    const std::optional<int64_t> recorded = records_.time();
    if (!recorded) {
        if (!timeline_->isLooped()) {
            ALOGI("%s: the recording has ended", name_.c_str());
            isOver_ = true;
            return false;
        }
        ++pass_;
        isPassBegun_ = false;
        records_.rewind();
        return records_.time().has_value();
    }
    const Time due = timeline_->timeOf(*recorded, pass_);
    if (due < from) {
        records_.advance();
        return true;
    }
    if (!clock.await(lock, changed_, id_, due, Time{}, WorldClock::Role::LEADS,
                     [this] { return isToStandStillLocked(); })) {
        return true;
    }
    lock.unlock();
    records_.deliver(timeline_->shift(pass_), pass_ > 0 && !isPassBegun_);
    records_.advance();
    lock.lock();
    ++played_;
    isPassBegun_ = true;
    return true;
}

}  // namespace Simulator
