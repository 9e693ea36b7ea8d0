// A thread that prints a notice unless it is woken in time.
#include "wait_notice.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <utility>

WaitNotice::WaitNotice(std::string whom) : whom_(std::move(whom)), thread_([this] { watch(); }) {}

WaitNotice::~WaitNotice() {
    {
        const std::lock_guard lock(mutex_);
        isAnswered_ = true;
    }
    answered_.notify_one();
    thread_.join();
}

void WaitNotice::watch() {
    constexpr std::chrono::seconds kPatience{2};
    std::unique_lock lock(mutex_);
    if (!answered_.wait_for(lock, kPatience, [this] { return isAnswered_; })) {
        fmt::print(stderr, "sensorctl: waiting for an answer of {}\n", whom_);
    }
}
