// Decides which thread reads a connection's socket. Only one does at a time, and while the
// connection lives there is always one that can.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <vector>

#include "Mutex.h"

namespace android::hardware::details {

/**
 * The role belongs to a caller that waits for its reply, or to the thread pool. Before a thread
 * with the role runs code of programs or waits for room to write, it passes the role on.
 *
 * Threading: guarded by the connection's mutex.
 */
class ReaderRole {
  public:
    /** A thread that waits for the reply to a call. */
    struct Caller {
        std::condition_variable changed;
        bool isReading = false;
    };

    /** Gives the role to the pool. @param watchName the socket's name in the pool */
    void begin(int socket, uint64_t watchName);
    /** After this, no thread gets the role. */
    void end();

    /** Takes the role if it is free. @return whether the caller has it now */
    bool take(Caller& caller);
    /**
     * Takes the role for a thread of the pool.
     * @return false if a caller has the role; then the pool watches the socket again when the role
     * returns to it
     */
    bool takeForPool();
    /**
     * If the caller has the role, passes it to another sleeping caller, or to the pool if there is
     * none.
     */
    void pass(Caller& caller);
    /**
     * Passes the role on from a thread of the pool.
     * @param isMoreToRead the socket may not be empty, so the pool must be notified again
     */
    void passFromPool(bool isMoreToRead);

    /**
     * Waits until the caller is woken, gets the role, or the deadline has passed.
     * @param mutex the connection's
     */
    void sleep(Caller& caller, Mutex& mutex, Mutex::Deadline deadline) REQUIRES(mutex);
    /** Wakes a caller that has something to do. It does not get the role until it sleeps again. */
    void wake(Caller& caller);

  private:
    void pass();
    void ignore();

    int socket_ = -1;
    uint64_t watchName_ = 0;
    bool isTaken_ = true;
    /** The pool watches the socket. */
    bool isWatched_ = false;
    /** The pool was notified, and may not have read everything. */
    bool isMoreToRead_ = false;
    std::vector<Caller*> sleepers_;
};

}  // namespace android::hardware::details
