// Tells the user what the program waits for if it seems to hang.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// Prints on standard error that `whom` has not answered, if this object lives longer than a
/// healthy service takes to answer.
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
