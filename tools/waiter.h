// What a command waits on.
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

    /// To add streams to, which are read while waiting, or to wake from any thread.
    const std::shared_ptr<Vek::Sensors::ICompositeStream>& composite() const { return composite_; }

    /// @return false if the run was ended before
    bool until(Time deadline) {
        return until([] { return false; }, deadline);
    }

    /// Ends, too, when `isReached`, which is looked at after every wake and all records, is true.
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

/// `seconds` from now; without limit if there are none.
inline Waiter::Time deadlineAfter(const std::optional<double>& seconds) {
    return seconds ? std::chrono::steady_clock::now() + durationOf(*seconds) : Waiter::Time::max();
}
