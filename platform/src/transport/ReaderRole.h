// Who reads a connection's socket: one thread at a time, and one is always able to.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <vector>

#include "Mutex.h"

namespace android::hardware::details {

/**
 * The role belongs to a caller that waits for its reply, or to the thread pool. The thread that has
 * it runs no code of programs and does not write: before it does, it passes the role on.
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

    /** Gives the role to the pool. @param watchName of the socket, in the pool */
    void begin(int socket, uint64_t watchName);
    /** From now on nobody gets the role. */
    void end();

    /** Takes the role if it is free. @return whether the caller has it now */
    bool take(Caller& caller);
    /**
     * Takes the role for a thread of the pool.
     * @return false if a caller has it; then the pool's notification is remembered
     */
    bool takeForPool();
    /** If the caller has the role, passes it to another caller that sleeps, else to the pool. */
    void pass(Caller& caller);
    /**
     * Passes the role on from a thread of the pool.
     * @param isMoreToRead the socket was not seen empty, and will not notify the pool again
     */
    void passFromPool(bool isMoreToRead);

    /**
     * Waits until the caller is woken, gets the role, or the deadline has passed.
     * @param mutex the connection's
     */
    void sleep(Caller& caller, Mutex& mutex, Mutex::Deadline deadline) REQUIRES(mutex);
    /** Wakes a caller that has something to do: it does not get the role before it sleeps again. */
    void wake(Caller& caller);

  private:
    void pass();
    void ignore();

    int socket_ = -1;
    uint64_t watchName_ = 0;
    bool isTaken_ = true;
    /** The pool watches the socket. */
    bool isWatched_ = false;
    /** The pool was notified of data that it may not have read. */
    bool isMoreToRead_ = false;
    std::vector<Caller*> sleepers_;
};

}  // namespace android::hardware::details
