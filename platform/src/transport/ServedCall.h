// The call that a thread is serving. Calls that the thread makes in the meantime name it as their
// parent.
#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <cstdint>

namespace android::hardware::details {

class Connection;

/** Marks the current thread as serving a call, for the lifetime of this object. */
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
    // Not movable: a thread-local pointer refers to it.
    ServedCall(const ServedCall&) = delete;
    ServedCall& operator=(const ServedCall&) = delete;

    /** The innermost call that this thread is serving; null if none. */
    static const ServedCall* current() { return current_; }

    /**
     * Number of the call on this connection whose caller waits for this thread; 0 if there is none.
     */
    static uint64_t waitingCallOn(const Connection* connection) {
        return current_ != nullptr && current_->connection_ == connection ? current_->callId_ : 0;
    }

    /** How many calls this thread is serving, one inside the other. */
    static size_t depth() { return current_ == nullptr ? 0 : current_->depth_; }

    const ucred& peer() const { return peer_; }
    const Connection* connection() const { return connection_; }

    /** Called before the reply is sent. From then on the caller does not count as waiting. */
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
