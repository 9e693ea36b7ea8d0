// Error figures of the simulated motion sensors.
#pragma once

#include <string>

namespace Simulator {

/// Of three axes; the unit of what they measure is U. Units and meaning of the rest: sensors.yaml.
struct TriaxialSettings {
    double noiseDensity = 0;            ///< U/sqrt(Hz)
    double randomWalk = 0;              ///< U/s/sqrt(Hz)
    double turnOnBias = 0;              ///< U; a magnetometer's hard iron
    double scaleError = 0;              ///< of the reading
    double misalignment = 0;            ///< rad, of each axis towards each other
    double softIron = 0;                ///< of the field, of each axis and between each two
    double gSensitivity = 0;            ///< U in m/s^2
    double temperatureCoefficient = 0;  ///< U/K
    double range = 0;                   ///< U
};

struct ImuSettings {
    TriaxialSettings accelerometer;
    TriaxialSettings gyroscope;
    double timestampJitter = 0;  ///< s
    double warmUp = 0;           ///< K
    double warmUpTime = 1;       ///< s
};

struct SensorSettings {
    ImuSettings headsetImu;
    ImuSettings boardImu;
    ImuSettings controllerImu;
    TriaxialSettings magnetometer;
};

/// The text of sensors.yaml.
extern const char* const kSensorDefaults;

SensorSettings defaultSensors();

/// The defaults, changed by what the file states. Throws std::runtime_error, with file and key, if
/// the file cannot be read, or has an unknown key or a value that is no number or below 0.
SensorSettings readSensors(const std::string& file);

/// The same ranges, and no errors.
SensorSettings withoutErrors(const SensorSettings& settings);

}  // namespace Simulator
