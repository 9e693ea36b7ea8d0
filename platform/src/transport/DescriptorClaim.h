// Counts and limits the received descriptors that no program has taken yet.
#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

namespace android::hardware::details {

/** Sum of the claims of one connection. */
using DescriptorAccount = std::atomic<size_t>;

/**
 * A number of received descriptors that no program has taken yet. Counted for its connection and
 * for the process.
 */
class DescriptorClaim {
  public:
    explicit DescriptorClaim(std::shared_ptr<DescriptorAccount> account)
        : account_(std::move(account)) {}
    ~DescriptorClaim() { set(0); }
    DescriptorClaim(const DescriptorClaim&) = delete;
    DescriptorClaim& operator=(const DescriptorClaim&) = delete;

    void set(size_t count) {
        const size_t added = count - std::exchange(count_, count);  // wraps if the count falls
        if (added == 0) return;
        *account_ += added;
        all_ += added;
    }

    /** Whether the claims of the whole process exceed the limit. */
    static bool areTooMany() { return areTooMany(all_); }
    /** Whether `count` exceeds 512 or half of the descriptors that the process may have open. */
    static bool areTooMany(size_t count) {
        constexpr rlim_t kMost = 512;  // half of the usual limit
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        return count > std::min(kMost, limit.rlim_cur / 2);
    }

  private:
    static inline std::atomic<size_t> all_{0};

    const std::shared_ptr<DescriptorAccount> account_;
    size_t count_ = 0;
};

}  // namespace android::hardware::details
