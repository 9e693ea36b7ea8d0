// Waits for records, conditions and the end of a command.
#pragma once

#include <vek/sensors/factories.h>

#include <chrono>
#include <memory>
#include <optional>

#include "shutdown.h"

inline std::chrono::nanoseconds durationOf(double seconds) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(seconds));
}

/// Waits on a composite until a condition holds, a deadline passes or the run ends.
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

    /// The composite: streams that are added to it are read while waiting; any thread may wake it.
    const std::shared_ptr<Vek::Sensors::ICompositeStream>& composite() const { return composite_; }

    /// @return false if the run was ended before
    bool until(Time deadline) {
        return until([] { return false; }, deadline);
    }

    /// Also ends when `isReached` returns true; it is called after every wake and delivery.
    /// @return false if the run was ended before
    template <typename Condition>
    bool until(const Condition& isReached, Time deadline) {
        while (shutdown_.cause() == Shutdown::Cause::NONE) {
            if (isReached() || std::chrono::steady_clock::now() >= deadline) {
                return true;
            }
            composite_->waitUntil(deadline);
        }
        return false;
    }

  private:
    Shutdown& shutdown_;
    const std::shared_ptr<Vek::Sensors::ICompositeStream> composite_;
};

/// `seconds` from now; no limit if it is empty.
inline Waiter::Time deadlineAfter(const std::optional<double>& seconds) {
    return seconds ? std::chrono::steady_clock::now() + durationOf(*seconds) : Waiter::Time::max();
}
