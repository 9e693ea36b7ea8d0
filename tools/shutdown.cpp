// Waits for signals on a thread instead of in handlers, where almost nothing is allowed.
#include "shutdown.h"

#include <fmt/format.h>
#include <unistd.h>
#include <vek/sensors/service.h>

#include <csignal>
#include <cstdio>

#include "failure.h"

namespace {

sigset_t watchedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGUSR2}) {
        sigaddset(&signals, signal);
    }
    // Under nohup SIGHUP is ignored, and the program continues after its terminal closes.
    struct sigaction hangUp {};
    sigaction(SIGHUP, nullptr, &hangUp);
    if (hangUp.sa_handler != SIG_IGN) {
        sigaddset(&signals, SIGHUP);
    }
    return signals;
}

/// @return the signal; 0 after the timeout.
int awaitSignal(std::chrono::nanoseconds timeout) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
    const timespec limit{seconds.count(), (timeout - seconds).count()};
    const sigset_t signals = watchedSignals();
    const int signal = sigtimedwait(&signals, nullptr, &limit);
    return signal < 0 ? 0 : signal;
}

}  // namespace

Shutdown::Shutdown(std::chrono::milliseconds grace) {
    const sigset_t signals = watchedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    Vek::Sensors::suppressTransportCrashDumps(true);
    thread_ = std::thread([this, grace] { watch(grace); });
}

Shutdown::~Shutdown() {
    isOver_ = true;
    pthread_kill(thread_.native_handle(), SIGUSR2);
    thread_.join();
}

void Shutdown::requireService() const {
    if (isServiceDead()) {
        throw Failure(ExitCode::SERVICE_DIED, kServiceDied);
    }
}

void Shutdown::wake(Vek::Sensors::ICompositeStream* composite) {
    const std::lock_guard lock(mutex_);
    composite_ = composite;
}

void Shutdown::request(int signal) {
    cause_ = signal == SIGUSR2 ? Cause::SERVICE_DEATH : Cause::SIGNAL;
    const std::lock_guard lock(mutex_);
    if (composite_ != nullptr) {
        composite_->wake();
    }
}

void Shutdown::watch(std::chrono::milliseconds grace) {
    const sigset_t signals = watchedSignals();
    int signal = 0;
    sigwait(&signals, &signal);
    if (isOver_) {
        return;
    }
    request(signal);
    const auto deadline = std::chrono::steady_clock::now() + grace;
    std::chrono::nanoseconds left = grace;
    while (left > left.zero()) {
        // Ignores further end signals, because some senders send twice; a death of the service
        // still counts.
        if (awaitSignal(left) == SIGUSR2) {
            request(SIGUSR2);
        }
        if (isOver_) {
            return;
        }
        left = deadline - std::chrono::steady_clock::now();
    }
    if (isServiceDead()) {
        fmt::print(stderr, "sensorctl: {}\n", kServiceDied);
        _exit(static_cast<int>(ExitCode::SERVICE_DIED));
    }
    _exit(128 + signal);
}
