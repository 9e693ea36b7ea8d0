// The owner of one file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace android::base {

class unique_fd {
  public:
    unique_fd() = default;
    explicit unique_fd(int fd) : fd_(fd) {}
    ~unique_fd() { reset(); }
    unique_fd(unique_fd&& other) noexcept : fd_(other.release()) {}
    unique_fd& operator=(unique_fd&& other) noexcept {
        reset(other.release());
        return *this;
    }

    int get() const { return fd_; }
    bool ok() const { return fd_ >= 0; }
    [[nodiscard]] int release() { return std::exchange(fd_, -1); }
    void reset(int fd = -1) {
        const int previous = std::exchange(fd_, fd);
        if (previous >= 0) close(previous);
    }

  private:
    int fd_ = -1;
};

}  // namespace android::base
