// An event flag: 32 bits in shared memory that processes set and wait for.
#pragma once

#include <fmq/SharedMapping.h>
#include <sys/types.h>
#include <utils/Errors.h>

#include <atomic>
#include <cstdint>

namespace android::hardware {

/** All operations may be used from any thread of any process that maps the word. */
class EventFlag {
  public:
    /**
     * Maps the word at `offset` of a region of shared memory. The offset is a multiple of 4.
     * @return BAD_VALUE unless the region cannot shrink and holds the word
     */
    static status_t createEventFlag(int fd, off_t offset, EventFlag** flag);
    /** Uses a word that the caller owns, and that must outlive the event flag. */
    static status_t createEventFlag(std::atomic<uint32_t>* word, EventFlag** flag);
    /** Deletes the event flag and sets the pointer to null. A null pointer has no effect. */
    static status_t deleteEventFlag(EventFlag** flag);

    /** Sets bits, and wakes the threads that wait for a bit that was not set before. */
    status_t wake(uint32_t bitmask);

    /**
     * Waits until at least one bit of the mask is set, and clears those that are.
     * @param state receives the bits of the mask that were set
     * @param timeOutNanoSeconds 0 waits without limit
     * @param retry if true, a wake-up without a bit of the mask continues the wait; else it returns
     * -EAGAIN
     * @return -ETIMEDOUT when the time ran out
     */
    status_t wait(uint32_t bitmask, uint32_t* state, int64_t timeOutNanoSeconds = 0,
                  bool retry = false);

    EventFlag(const EventFlag&) = delete;
    EventFlag& operator=(const EventFlag&) = delete;

  private:
    explicit EventFlag(std::atomic<uint32_t>* word) : word_(word) {}
    ~EventFlag() = default;

    std::atomic<uint32_t>* const word_;
    /** Null if the caller owns the word. */
    details::SharedMapping mapping_;
};

}  // namespace android::hardware
