// 32 bits in shared memory that processes set and wait for.
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
    /** Uses a word that stays the caller's. */
    static status_t createEventFlag(std::atomic<uint32_t>* word, EventFlag** flag);
    /** Sets the pointer to null; a null pointer is left alone. */
    static status_t deleteEventFlag(EventFlag** flag);

    /** Sets bits, and wakes those who wait for one of them if it was not set yet. */
    status_t wake(uint32_t bitmask);

    /**
     * Waits for one of the bits, and takes all that are set off the word.
     * @param state receives the bits of the mask that were set
     * @param timeOutNanoSeconds 0 waits without limit
     * @param retry goes on after a wake-up that brought no bit; otherwise that is -EAGAIN
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
    /** Null for a word of the caller's. */
    details::SharedMapping mapping_;
};

}  // namespace android::hardware
