// Calibration of cameras and IMUs, and its exchange formats (JSON, EuRoC, Kalibr).
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Recording {

/// A pinhole camera with one of two distortion models.
struct CameraCalibration {
    uint32_t width;
    uint32_t height;
    /// Focal lengths and principal point: fu, fv, cu, cv, in pixels.
    std::array<double, 4> intrinsics;
    /// "radial-tangential" (k1, k2, p1, p2) or "equidistant" (k1 to k4).
    std::string distortionModel;
    std::array<double, 4> distortion;
    /// Takes points of the camera's frame to the IMU's; row by row.
    std::array<double, 16> cameraToImu;
};

/// Noise of an IMU, as continuous-time densities.
struct ImuNoise {
    /// In rad/s/sqrt(Hz).
    double gyroscopeNoiseDensity;
    /// In rad/s^2/sqrt(Hz).
    double gyroscopeRandomWalk;
    /// In m/s^2/sqrt(Hz).
    double accelerometerNoiseDensity;
    /// In m/s^3/sqrt(Hz).
    double accelerometerRandomWalk;
};

/// Parses a service's factory calibration. Services may use other formats: empty unless it is the
/// JSON of the simulated service.
std::optional<CameraCalibration> cameraCalibrationOf(const std::string& factoryText);

/// Calibration for binned images of this size; unchanged if the size is unknown (0). Empty if
/// images of this size are not a binned version of the calibrated ones.
std::optional<CameraCalibration> scaledTo(const std::optional<CameraCalibration>& calibration,
                                          uint32_t width, uint32_t height);

/// Parses a service's device calibration; empty as above.
std::optional<ImuNoise> imuNoiseOf(const std::string& deviceText);

/// The factory calibration's JSON for a camera that was calibrated elsewhere.
std::string factoryTextOf(const CameraCalibration& calibration, uint32_t cameraId,
                          const std::string& name, double rate);

/// Formats EuRoC's sensor.yaml. Unknown values are left out, and a comment in the file says so.
std::string cameraYaml(const std::string& name, double rate, uint32_t width, uint32_t height,
                       const std::optional<CameraCalibration>& calibration);
std::string imuYaml(const std::string& name, double rate, const std::optional<ImuNoise>& noise);
std::string magnetometerYaml(const std::string& name, double rate);

/// The content of a camera's sensor.yaml.
struct CameraDescription {
    /// In Hz; 0 if it is not given.
    double rate = 0;
    std::optional<CameraCalibration> calibration;
};

/// Reads EuRoC's sensor.yaml of a camera. Throws Error with file and line if it is not YAML or a
/// value is invalid. Missing values are not an error.
CameraDescription readCameraYaml(const std::filesystem::path& path);

/// Kalibr's camera chain. Cameras without calibration are left out.
std::string kalibrCameraChain(const std::vector<std::optional<CameraCalibration>>& cameras);
/// Kalibr's imu.yaml.
std::string kalibrImu(double rate, const std::optional<ImuNoise>& noise);

}  // namespace Recording
