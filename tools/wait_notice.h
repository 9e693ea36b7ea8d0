// Tells the user what a program waits for that seems to hang.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// Says on standard error that `whom` has not answered, should this live for longer than a service
/// takes that is well.
class WaitNotice {
  public:
    explicit WaitNotice(std::string whom);
    ~WaitNotice();
    WaitNotice(const WaitNotice&) = delete;
    WaitNotice& operator=(const WaitNotice&) = delete;

  private:
    void watch();

    const std::string whom_;
    std::mutex mutex_;
    std::condition_variable answered_;
    bool isAnswered_ = false;
    std::thread thread_;
};
