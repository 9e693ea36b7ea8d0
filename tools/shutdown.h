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
/// The library reports a death by SIGUSR2, which a thread of this object receives like the other
/// signals. If the program has not ended after `grace`, the thread ends it: it hangs in a control
/// call that a dead service never answers.
///
/// Create it before any other thread and any sensor object, so that they inherit its signal mask
/// and reaction to deaths. At most one per process.
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

    /// Sets the composite that a request wakes. Set it to null before that composite is destroyed.
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
