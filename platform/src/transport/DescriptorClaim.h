// How many descriptors one process may have waiting in another, over all of its connections.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

namespace android::hardware::details {

/** The claims of one process together. */
using DescriptorAccount = std::atomic<size_t>;

/** Descriptors that a connection has brought and that nobody has taken yet. */
class DescriptorClaim {
  public:
    explicit DescriptorClaim(std::shared_ptr<DescriptorAccount> account)
        : account_(std::move(account)) {}
    ~DescriptorClaim() { set(0); }
    DescriptorClaim(const DescriptorClaim&) = delete;
    DescriptorClaim& operator=(const DescriptorClaim&) = delete;

    /** @return false if the process has more waiting than it may */
    bool set(size_t count) {
        const size_t added = count - std::exchange(count_, count);  // wraps for fewer
        return account_->fetch_add(added) + added <= kMaxOfOneProcess;
    }

  private:
    // Half of what a process may usually have open.
    static constexpr size_t kMaxOfOneProcess = 512;

    const std::shared_ptr<DescriptorAccount> account_;
    size_t count_ = 0;
};

}  // namespace android::hardware::details
