// Calibration as JSON and YAML.
#include "recording/calibration.h"

#include <fmt/format.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <system_error>

#include "recording/error.h"
#include "recording/geometry.h"

namespace Recording {

namespace {

using Json = nlohmann::json;

constexpr char kRadialTangential[] = "radial-tangential";
constexpr char kEquidistant[] = "equidistant";

/// No camera has larger images.
constexpr uint32_t kMostPixels = 65'536;

constexpr uintmax_t kLargestYaml = 1 << 20;

/// Numbers as a YAML flow sequence, with enough digits to read back exactly.
template <typename Numbers>
std::string flow(const Numbers& numbers) {
    return fmt::format("[{}]", fmt::join(numbers, ", "));
}

std::string matrix(const std::array<double, 16>& rows) {
    return fmt::format("{{cols: 4, rows: 4, data: {}}}", flow(rows));
}

std::string matrixRows(const std::array<double, 16>& rows, const std::string& indent) {
    std::string text;
    for (size_t i = 0; i < rows.size(); i += 4) {
        text += fmt::format("{}- [{}]\n", indent, fmt::join(&rows[i], &rows[i] + 4, ", "));
    }
    return text;
}

/// Quotes a text so that YAML reads it as a string, whatever it contains.
std::string quoted(const std::string& text) {
    return Json(text).dump(-1, ' ', true, Json::error_handler_t::replace);
}

/// A value of EuRoC's sensor.yaml.
class YamlFile {
  public:
    explicit YamlFile(const std::filesystem::path& path) : path_(path) {
        std::error_code error;
        if (std::filesystem::file_size(path, error) > kLargestYaml || error) {
            throw Error(path.string() + ": " + (error ? error.message() : "is too large"));
        }
        try {
            root_ = YAML::LoadFile(path.string());
        } catch (const YAML::ParserException& error) {
            throw Error(fmt::format("{}:{}: {}", path.string(), error.mark.line + 1, error.msg));
        } catch (const YAML::Exception& error) {
            throw Error(path.string() + ": " + error.what());
        }
    }

    YAML::Node operator[](const char* key) const {
        return root_.IsMap() ? root_[key] : YAML::Node(YAML::NodeType::Undefined);
    }

    template <typename Value>
    Value as(const YAML::Node& node, const char* name) const {
        try {
            return node.as<Value>();
        } catch (const YAML::Exception&) {
            throw Error(fmt::format("{}:{}: {} is not as it should be", path_.string(),
                                    node.Mark().line + 1, name));
        }
    }

    template <size_t Size>
    std::array<double, Size> numbers(const YAML::Node& node, const char* name) const {
        return as<std::array<double, Size>>(node, name);
    }

  private:
    std::filesystem::path path_;
    YAML::Node root_;
};

}  // namespace

std::optional<CameraCalibration> cameraCalibrationOf(const std::string& factoryText) {
    const Json text = Json::parse(factoryText, nullptr, false);
    CameraCalibration calibration{};
    try {
        if (text.at("model") != "pinhole") {
            return std::nullopt;
        }
        text.at("width").get_to(calibration.width);
        text.at("height").get_to(calibration.height);
        text.at("intrinsics").get_to(calibration.intrinsics);
        text.at("distortionModel").get_to(calibration.distortionModel);
        text.at("distortion").get_to(calibration.distortion);
        text.at("T_BS").get_to(calibration.cameraToImu);
    } catch (const Json::exception&) {
        return std::nullopt;
    }
    const bool isKnown = calibration.distortionModel == kRadialTangential ||
                         calibration.distortionModel == kEquidistant;
    const bool isPlausible = calibration.width > 0 && calibration.width <= kMostPixels &&
                             calibration.height > 0 && calibration.height <= kMostPixels &&
                             isRigid(calibration.cameraToImu);
    return isKnown && isPlausible ? std::optional(calibration) : std::nullopt;
}

std::optional<CameraCalibration> scaledTo(const std::optional<CameraCalibration>& calibration,
                                          uint32_t width, uint32_t height) {
    if (!calibration || width == 0) {
        return calibration;
    }
    if (uint64_t{width} * calibration->height != uint64_t{height} * calibration->width) {
        return std::nullopt;
    }
    CameraCalibration scaled = *calibration;
    const double factor = static_cast<double>(width) / calibration->width;
    scaled.width = width;
    scaled.height = height;
    auto& [fu, fv, cu, cv] = scaled.intrinsics;
    for (double* const focalLength : {&fu, &fv}) {
        *focalLength *= factor;
    }
    // The middle of the first pixel is at 0, its edge at -0.5.
    for (double* const centre : {&cu, &cv}) {
        *centre = (*centre + 0.5) * factor - 0.5;
    }
    return scaled;
}

std::optional<ImuNoise> imuNoiseOf(const std::string& deviceText) {
    const Json text = Json::parse(deviceText, nullptr, false);
    ImuNoise noise{};
    try {
        const Json& imu = text.at("imu");
        imu.at("gyroscopeNoiseDensity").get_to(noise.gyroscopeNoiseDensity);
        imu.at("gyroscopeRandomWalk").get_to(noise.gyroscopeRandomWalk);
        imu.at("accelerometerNoiseDensity").get_to(noise.accelerometerNoiseDensity);
        imu.at("accelerometerRandomWalk").get_to(noise.accelerometerRandomWalk);
    } catch (const Json::exception&) {
        return std::nullopt;
    }
    return noise;
}

std::string factoryTextOf(const CameraCalibration& calibration, uint32_t cameraId,
                          const std::string& name, double rate) {
    return Json{{"camera", cameraId},
                {"name", name},
                {"width", calibration.width},
                {"height", calibration.height},
                {"model", "pinhole"},
                {"intrinsics", calibration.intrinsics},
                {"distortionModel", calibration.distortionModel},
                {"distortion", calibration.distortion},
                {"T_BS", calibration.cameraToImu},
                {"rate", rate}}
        .dump(-1, ' ', true, Json::error_handler_t::replace);
}

std::string cameraYaml(const std::string& name, double rate, uint32_t width, uint32_t height,
                       const std::optional<CameraCalibration>& calibration) {
    std::string text = fmt::format("sensor_type: camera\ncomment: {}\n", quoted(name));
    if (!calibration) {
        return text +
               fmt::format(
                   "# The device's calibration text, which recording.json has, is of an unknown\n"
                   "# form: extrinsics, intrinsics and distortion are not known.\n"
                   "rate_hz: {}\nresolution: [{}, {}]\n",
                   rate, width, height);
    }
    return text + fmt::format(
                      "# Takes points of the camera to the body, which is the IMU.\n"
                      "T_BS: {}\n"
                      "rate_hz: {}\n"
                      "resolution: [{}, {}]\n"
                      "camera_model: pinhole\n"
                      "intrinsics: {} # fu, fv, cu, cv\n"
                      "distortion_model: {}\n"
                      "distortion_coefficients: {}\n",
                      matrix(calibration->cameraToImu), rate, calibration->width,
                      calibration->height, flow(calibration->intrinsics),
                      calibration->distortionModel, flow(calibration->distortion));
}

std::string imuYaml(const std::string& name, double rate, const std::optional<ImuNoise>& noise) {
    std::string text = fmt::format(
        "sensor_type: imu\ncomment: {}\n# The body is the IMU.\nT_BS: {}\nrate_hz: {}\n",
        quoted(name), matrix(kIdentity), rate);
    if (!noise) {
        return text + "# The noise of the IMU is not known.\n";
    }
    return text + fmt::format(
                      "gyroscope_noise_density: {} # rad/s/sqrt(Hz)\n"
                      "gyroscope_random_walk: {} # rad/s^2/sqrt(Hz)\n"
                      "accelerometer_noise_density: {} # m/s^2/sqrt(Hz)\n"
                      "accelerometer_random_walk: {} # m/s^3/sqrt(Hz)\n",
                      noise->gyroscopeNoiseDensity, noise->gyroscopeRandomWalk,
                      noise->accelerometerNoiseDensity, noise->accelerometerRandomWalk);
}

std::string magnetometerYaml(const std::string& name, double rate) {
    return fmt::format("sensor_type: magnetometer\ncomment: {}\nT_BS: {}\nrate_hz: {}\n",
                       quoted(name), matrix(kIdentity), rate);
}

CameraDescription readCameraYaml(const std::filesystem::path& path) {
    const YamlFile file(path);
    CameraDescription description;
    if (const YAML::Node rate = file["rate_hz"]) {
        description.rate = file.as<double>(rate, "rate_hz");
    }
    const YAML::Node resolution = file["resolution"];
    const YAML::Node intrinsics = file["intrinsics"];
    const YAML::Node distortion = file["distortion_coefficients"];
    const YAML::Node model = file["distortion_model"];
    const YAML::Node pose = file["T_BS"];
    if (!resolution || !intrinsics || !distortion || !model || !pose) {
        return description;
    }
    CameraCalibration calibration{};
    const auto size = file.as<std::array<uint32_t, 2>>(resolution, "resolution");
    calibration.width = size[0];
    calibration.height = size[1];
    calibration.intrinsics = file.numbers<4>(intrinsics, "intrinsics");
    calibration.distortionModel = file.as<std::string>(model, "distortion_model");
    calibration.distortion = file.numbers<4>(distortion, "distortion_coefficients");
    calibration.cameraToImu = file.numbers<16>(pose.IsMap() ? pose["data"] : pose, "T_BS");
    if (calibration.distortionModel == kRadialTangential ||
        calibration.distortionModel == kEquidistant) {
        description.calibration = calibration;
    }
    return description;
}

std::string kalibrCameraChain(const std::vector<std::optional<CameraCalibration>>& cameras) {
    std::string chain;
    const CameraCalibration* previous = nullptr;
    size_t number = 0;
    for (const auto& camera : cameras) {
        if (!camera) {
            continue;
        }
        const auto imuToCamera = inverse(camera->cameraToImu);
        chain += fmt::format("cam{}:\n  T_cam_imu:\n{}", number, matrixRows(imuToCamera, "  "));
        if (previous != nullptr) {
            chain +=
                "  T_cn_cnm1:\n" + matrixRows(product(imuToCamera, previous->cameraToImu), "  ");
        }
        chain += fmt::format(
            "  camera_model: pinhole\n"
            "  intrinsics: {}\n"
            "  distortion_model: {}\n"
            "  distortion_coeffs: {}\n"
            "  resolution: [{}, {}]\n"
            "  rostopic: /cam{}/image_raw\n"
            "  timeshift_cam_imu: 0.0\n",
            flow(camera->intrinsics),
            camera->distortionModel == kEquidistant ? "equidistant" : "radtan",
            flow(camera->distortion), camera->width, camera->height, number);
        previous = &*camera;
        ++number;
    }
    return chain;
}

std::string kalibrImu(double rate, const std::optional<ImuNoise>& noise) {
    if (!noise) {
        return fmt::format(
            "# The noise of the IMU is not known.\nrostopic: /imu0\n"
            "update_rate: {}\n",
            rate);
    }
    return fmt::format(
        "accelerometer_noise_density: {}\naccelerometer_random_walk: {}\n"
        "gyroscope_noise_density: {}\ngyroscope_random_walk: {}\nrostopic: /imu0\n"
        "update_rate: {}\n",
        noise->accelerometerNoiseDensity, noise->accelerometerRandomWalk,
        noise->gyroscopeNoiseDensity, noise->gyroscopeRandomWalk, rate);
}

}  // namespace Recording
