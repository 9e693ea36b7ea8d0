#include "transport/ReaderRole.h"

#include <algorithm>
#include <utility>

#include "transport/ThreadPool.h"

namespace android::hardware::details {

void ReaderRole::begin(int socket, uint64_t watchName) {
    socket_ = socket;
    watchName_ = watchName;
    pass();
}

void ReaderRole::end() {
    ThreadPool::self().remove(socket_, watchName_);
    socket_ = -1;
    isTaken_ = true;
}

bool ReaderRole::take(Caller& caller) {
    if (!caller.isReading && !std::exchange(isTaken_, true)) {
        caller.isReading = true;
        ignore();
    }
    return caller.isReading;
}

bool ReaderRole::takeForPool() {
    if (!std::exchange(isTaken_, true)) return true;
    isMoreToRead_ = true;
    return false;
}

void ReaderRole::pass(Caller& caller) {
    if (std::exchange(caller.isReading, false)) pass();
}

void ReaderRole::passFromPool(bool isMoreToRead) {
    isMoreToRead_ = isMoreToRead_ || isMoreToRead;
    pass();
}

void ReaderRole::pass() {
    if (socket_ < 0) return;
    if (!sleepers_.empty()) {
        Caller& next = *sleepers_.front();
        next.isReading = true;
        ignore();
        wake(next);
        return;
    }
    isTaken_ = false;
    // Avoids the system call in the usual case that a thread of the pool has read everything.
    if (isMoreToRead_ || !isWatched_) ThreadPool::self().watch(socket_, watchName_);
    isMoreToRead_ = false;
    isWatched_ = true;
}

void ReaderRole::ignore() {
    if (std::exchange(isWatched_, false)) ThreadPool::self().ignore(socket_, watchName_);
}

void ReaderRole::sleep(Caller& caller, Mutex& mutex, Mutex::Deadline deadline) {
    sleepers_.push_back(&caller);
    mutex.wait(caller.changed, deadline);
    const auto own = std::find(sleepers_.begin(), sleepers_.end(), &caller);
    if (own != sleepers_.end()) sleepers_.erase(own);
}

void ReaderRole::wake(Caller& caller) {
    const auto found = std::find(sleepers_.begin(), sleepers_.end(), &caller);
    if (found != sleepers_.end()) sleepers_.erase(found);
    caller.changed.notify_one();
}

}  // namespace android::hardware::details
