// What a command waits on that is not a run over streams alone.
#pragma once

#include <vek/sensors/factories.h>

#include <chrono>
#include <memory>

#include "failure.h"
#include "shutdown.h"

/// Waits on a composite, which streams can be added to, for a condition, a deadline or the end.
class Waiter {
  public:
    using Time = std::chrono::steady_clock::time_point;

    explicit Waiter(Shutdown& shutdown)
        : shutdown_(shutdown),
          composite_(Vek::Sensors::createStreamCompositor()->createCompositeStream("sensorctl")) {
        shutdown_.wake(composite_.get());
    }
    ~Waiter() { shutdown_.wake(nullptr); }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    /// To add streams to, and to wake from any thread to have the condition looked at again.
    const std::shared_ptr<Vek::Sensors::ICompositeStream>& composite() const { return composite_; }

    /// @param condition looked at after every batch of records and every wake.
    /// @return the condition: false at the deadline, or when the user ended the run. Throws
    /// Failure if the service died.
    template <typename Condition>
    bool waitFor(Condition condition, Time deadline) {
        while (shutdown_.cause() == Shutdown::Cause::NONE) {
            if (condition()) {
                return true;
            }
            if (std::chrono::steady_clock::now() >= deadline) {
                return false;
            }
            composite_->waitUntil(deadline);
        }
        if (isServiceDead()) {
            throw Failure(ExitCode::SERVICE_DIED, kServiceDied);
        }
        return false;
    }

    /// Without a condition.
    void pauseUntil(Time deadline) {
        waitFor([] { return false; }, deadline);
    }

    /// Ask before a call: one to a dead service would not return.
    bool isServiceDead() const { return shutdown_.cause() == Shutdown::Cause::SERVICE_DEATH; }

  private:
    Shutdown& shutdown_;
    const std::shared_ptr<Vek::Sensors::ICompositeStream> composite_;
};

/// `seconds` from now; without limit if there are none.
inline Waiter::Time deadlineAfter(const std::optional<double>& seconds) {
    return seconds ? std::chrono::steady_clock::now() +
                         std::chrono::duration_cast<std::chrono::nanoseconds>(
                             std::chrono::duration<double>(*seconds))
                   : Waiter::Time::max();
}
