// The simulated headset: its sensors, their numbers, and the services that offer them.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "faults.h"
#include "sensor_services.h"

namespace Simulator {

class Headset {
  public:
    explicit Headset(const std::shared_ptr<Faults>& faults);

    /// Registers the "default" service of each interface.
    /// @return what went wrong; empty if nothing did
    std::string registerServices();

    /// Ends all sampling.
    void stop();

    /// Of each stream, by the name of its sensor.
    std::vector<std::pair<std::string, StreamStatistics>> statistics() const;

  private:
    const std::shared_ptr<const Faults> faults_;
    // By their sensor numbers, which count on from the IMUs to the magnetometer.
    const std::vector<android::sp<ImuService>> imus_;
    const android::sp<MagService> mag_;
    const android::sp<IadService> iad_;
};

}  // namespace Simulator
