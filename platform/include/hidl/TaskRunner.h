// The queue of a generated passthrough wrapper's one-way calls.
#pragma once

#include <cstddef>
#include <functional>

namespace android::hardware::details {

/**
 * The host layer never hands out passthrough wrappers, so there is no queue: a task runs at once,
 * on the calling thread.
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
