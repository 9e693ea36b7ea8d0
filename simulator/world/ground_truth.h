// The true motion of the headset, for the evaluation of trackers.
#pragma once

#include <cstdint>
#include <fstream>
#include <mutex>
#include <string>

#include "world/geometry.h"
#include "world/sensor_errors.h"

namespace Simulator {

/// A file in the form of EuRoC's ground truth. The first line replaces an earlier file of the same
/// name.
///
/// Threading: every method may be called from any thread.
class GroundTruth {
  public:
    /// Throws std::runtime_error if the file cannot be written.
    explicit GroundTruth(std::string file);
    ~GroundTruth();
    GroundTruth(const GroundTruth&) = delete;
    GroundTruth& operator=(const GroundTruth&) = delete;

    /// @param timestamp as in the IMU's record
    /// @param motion of the IMU at that time
    void write(int64_t timestamp, const Motion& motion, const InertialSensor::Reading& biases);

    /// A line for the user, who gets all of the file with it.
    std::string summary();

  private:
    const std::string file_;
    const std::string unfinished_;
    std::mutex mutex_;  // guards all below
    std::ofstream stream_;
    uint64_t lines_ = 0;
};

}  // namespace Simulator
