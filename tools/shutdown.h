// Events that end a run from outside: Ctrl-C, SIGTERM, the terminal's end, the death of the
// service.
#pragma once

#include <vek/sensors/stream.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

/// Turns SIGINT, SIGTERM, SIGHUP (unless it is ignored) and the death of the service into a request
/// to end.
///
/// The library is told to report a death by SIGUSR2, which reaches a thread of this object like the
/// others. A program that has not ended when `grace` is over is ended here: it hangs in a
/// control call, which a dead service never answers.
///
/// Make one before any other thread and any sensor object, so that they all inherit its signal mask
/// and reaction to deaths. One in a process.
class Shutdown {
  public:
    enum class Cause { NONE, SIGNAL, SERVICE_DEATH };

    explicit Shutdown(std::chrono::milliseconds grace);
    ~Shutdown();
    Shutdown(const Shutdown&) = delete;
    Shutdown& operator=(const Shutdown&) = delete;

    /// May be called from any thread.
    Cause cause() const { return cause_; }

    /// To be checked before a call to the service: a call to a dead service would not return.
    bool isServiceDead() const { return cause_ == Cause::SERVICE_DEATH; }

    /// Throws Failure if the service died.
    void requireService() const;

    /// Names the composite whose wait a request ends; null before that composite is destroyed.
    void wake(Vek::Sensors::ICompositeStream* composite);

  private:
    void watch(std::chrono::milliseconds grace);
    void request(int signal);

    std::atomic<Cause> cause_{Cause::NONE};
    std::atomic<bool> isOver_{false};
    std::mutex mutex_;
    Vek::Sensors::ICompositeStream* composite_ = nullptr;
    std::thread thread_;
};
