// The call that a thread is serving, which the calls that it makes meanwhile name as their parent.
#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <cstdint>

namespace android::hardware::details {

class Connection;

/** Marks the current thread as serving a call for as long as the object lives. */
class ServedCall {
  public:
    ServedCall(const Connection* connection, uint64_t callId, const ucred& peer)
        : connection_(connection),
          callId_(callId),
          peer_(peer),
          outer_(current_),
          depth_(depth() + 1) {
        current_ = this;
    }
    ~ServedCall() { current_ = outer_; }
    // Linked from the thread by its address.
    ServedCall(const ServedCall&) = delete;
    ServedCall& operator=(const ServedCall&) = delete;

    /** The innermost call that this thread is serving; null if none. */
    static const ServedCall* current() { return current_; }

    /** Number of the call whose caller waits for this thread on the connection; 0 if none does. */
    static uint64_t waitingCallOn(const Connection* connection) {
        return current_ != nullptr && current_->connection_ == connection ? current_->callId_ : 0;
    }

    /** How many calls this thread is serving, one inside the other. */
    static size_t depth() { return current_ == nullptr ? 0 : current_->depth_; }

    const ucred& peer() const { return peer_; }
    const Connection* connection() const { return connection_; }

    /** Called once the caller has its answer and waits no longer. */
    void answered() { callId_ = 0; }

  private:
    static inline thread_local ServedCall* current_ = nullptr;

    const Connection* connection_;
    uint64_t callId_;
    const ucred peer_;
    ServedCall* const outer_;
    const size_t depth_;
};

}  // namespace android::hardware::details
