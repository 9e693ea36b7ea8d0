// How sensorctl ends: its exit codes, and the exception that carries one up to main.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

enum class ExitCode {
    OK = 0,
    FAILED = 1,
    USAGE = 2,
    NO_SERVICE = 3,
    SERVICE_DIED = 4,
    NOT_AS_EXPECTED = 5,
};

inline constexpr char kServiceDied[] = "the sensor service died";

/// Ends the command; `what()` is the message for the user.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode exitCode, const std::string& message)
        : std::runtime_error(message), exitCode_(exitCode) {}

    ExitCode exitCode() const { return exitCode_; }

  private:
    ExitCode exitCode_;
};

/// @param hal the name of the HAL interface, IImu for instance.
inline Failure missingService(const std::string& hal) {
    return {ExitCode::NO_SERVICE, "no service vendor.zelvan.hardware.sensors@1.0::" + hal +
                                      "/default is running; on a workstation, "
                                      "moriak-sensor-simulator provides it"};
}

/// Returns `sensor`. Throws Failure if it is empty, because no service runs.
template <typename Sensor>
std::unique_ptr<Sensor> requireService(std::unique_ptr<Sensor> sensor, const char* hal) {
    if (sensor == nullptr) {
        throw missingService(hal);
    }
    return sensor;
}
