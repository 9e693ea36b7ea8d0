// Who reads a connection's socket: one thread at a time, and there is always one that can.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <vector>

#include "Mutex.h"

namespace android::hardware::details {

/**
 * The role is with a caller that waits for its reply, or with the thread pool. Whoever has it runs
 * no code of programs and does not write: a thread that is to do so passes it on first.
 *
 * Threading: guarded by its connection.
 */
class ReaderRole {
  public:
    /** A thread that waits for the reply to a call. */
    struct Caller {
        std::condition_variable changed;
        bool isReading = false;
    };

    /** The role is with the pool from now on. @param watchName of the socket, in the pool */
    void begin(int socket, uint64_t watchName);
    /** For good: nobody gets it any more. */
    void end();

    /** @return whether the caller has the role now */
    bool take(Caller& caller);
    /** @return false if a caller has it: the pool may miss what it was told of */
    bool takeForPool();
    /** Gives the role to a caller that sleeps, else to the pool; if this one has it. */
    void pass(Caller& caller);
    /** @param isMoreToRead the socket was not seen empty, and will not tell the pool again */
    void passFromPool(bool isMoreToRead);

    /**
     * Waits until the caller is woken, has the role, or the deadline is over.
     * @param mutex the connection's
     */
    void sleep(Caller& caller, Mutex& mutex, Mutex::Deadline deadline) REQUIRES(mutex);
    /** It has something to do: it does not get the role before it sleeps again. */
    void wake(Caller& caller);

  private:
    void pass();
    void ignore();

    int socket_ = -1;
    uint64_t watchName_ = 0;
    bool isTaken_ = true;
    /** The pool is told of whatever comes. */
    bool isWatched_ = false;
    /** There may be something that the pool was told of and did not read. */
    bool isMoreToRead_ = false;
    std::vector<Caller*> sleepers_;
};

}  // namespace android::hardware::details
