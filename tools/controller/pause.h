// Waiting that a signal or the death of the service ends.
#pragma once

#include <vek/sensors/factories.h>

#include <chrono>
#include <memory>

#include "shutdown.h"

class Pause {
  public:
    using Time = std::chrono::steady_clock::time_point;

    explicit Pause(Shutdown& shutdown)
        : shutdown_(shutdown),
          composite_(Vek::Sensors::createStreamCompositor()->createCompositeStream("sensorctl")) {
        shutdown_.wake(composite_.get());
    }
    ~Pause() { shutdown_.wake(nullptr); }
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

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
