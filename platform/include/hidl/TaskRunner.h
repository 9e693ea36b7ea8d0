// The queue of a generated passthrough wrapper's one-way calls.
#pragma once

#include <cstddef>
#include <functional>

namespace android::hardware::details {

/**
 * Passthrough wrappers are generated but never handed out here, so a task has no
 * queue to wait in: it runs at once, on the calling thread.
 */
class TaskRunner {
  public:
    void start(size_t /* limit */) {}
    bool push(const std::function<void()>& task) {
        task();
        return true;
    }
};

}  // namespace android::hardware::details
