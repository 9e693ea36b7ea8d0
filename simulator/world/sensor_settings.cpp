#include "world/sensor_settings.h"

#include <fmt/format.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <stdexcept>

namespace Simulator {
namespace {

template <typename Settings>
struct Field {
    const char* key;
    double Settings::*value;
};

using TriaxialFields = std::initializer_list<Field<TriaxialSettings>>;
using Triaxial = TriaxialSettings;

constexpr TriaxialFields kTriaxial = {
    {"noiseDensity", &Triaxial::noiseDensity},
    {"randomWalk", &Triaxial::randomWalk},
    {"temperatureCoefficient", &Triaxial::temperatureCoefficient},
    {"range", &Triaxial::range},
};
constexpr TriaxialFields kInertial = {
    {"turnOnBias", &Triaxial::turnOnBias},
    {"scaleError", &Triaxial::scaleError},
    {"misalignment", &Triaxial::misalignment},
};
constexpr TriaxialFields kGyroscope = {{"gSensitivity", &Triaxial::gSensitivity}};
constexpr TriaxialFields kMagnetometer = {
    {"hardIron", &Triaxial::turnOnBias},
    {"softIron", &Triaxial::softIron},
};
constexpr std::initializer_list<Field<ImuSettings>> kImuFields = {
    {"timestampJitter", &ImuSettings::timestampJitter},
    {"warmUp", &ImuSettings::warmUp},
    {"warmUpTime", &ImuSettings::warmUpTime},
};

/// Calls `read(key, value)` for each entry; it returns whether the key is known.
template <typename Read>
void forEachEntry(const YAML::Node& node, const std::string& name, const Read& read) {
    if (!node.IsMap()) {
        throw std::runtime_error(fmt::format("{} is no list of keys and values", name));
    }
    for (const auto& entry : node) {
        const auto key = entry.first.as<std::string>();
        if (!read(key, entry.second)) {
            throw std::runtime_error(fmt::format("{} has no key '{}'", name, key));
        }
    }
}

template <typename Settings>
bool readNumber(std::initializer_list<Field<Settings>> fields, const std::string& name,
                const std::string& key, const YAML::Node& node, Settings* settings) {
    for (const Field<Settings>& field : fields) {
        if (key == field.key) {
            double number = NAN;
            if (!node.IsScalar() || !YAML::convert<double>::decode(node, number) ||
                !std::isfinite(number) || number < 0) {
                throw std::runtime_error(fmt::format("{}.{} '{}' is no number of 0 or more", name,
                                                     key, node.IsScalar() ? node.Scalar() : "..."));
            }
            settings->*field.value = number;
            return true;
        }
    }
    return false;
}

/// @param fields that it has besides kTriaxial
void readTriaxial(const YAML::Node& node, const std::string& name,
                  std::initializer_list<TriaxialFields> fields, TriaxialSettings* settings) {
    forEachEntry(node, name, [&](const std::string& key, const YAML::Node& value) {
        return readNumber(kTriaxial, name, key, value, settings) ||
               std::any_of(fields.begin(), fields.end(), [&](const TriaxialFields& some) {
                   return readNumber(some, name, key, value, settings);
               });
    });
}

void readImu(const YAML::Node& node, const std::string& name, ImuSettings* settings) {
    forEachEntry(node, name, [&](const std::string& key, const YAML::Node& value) {
        if (key == "accelerometer") {
            readTriaxial(value, name + ".accelerometer", {kInertial}, &settings->accelerometer);
        } else if (key == "gyroscope") {
            readTriaxial(value, name + ".gyroscope", {kInertial, kGyroscope}, &settings->gyroscope);
        } else {
            return readNumber(kImuFields, name, key, value, settings);
        }
        return true;
    });
}

void readAll(const YAML::Node& node, SensorSettings* settings) {
    forEachEntry(node, "the file", [&](const std::string& key, const YAML::Node& value) {
        if (key == "headsetImu") {
            readImu(value, key, &settings->headsetImu);
        } else if (key == "boardImu") {
            readImu(value, key, &settings->boardImu);
        } else if (key == "controllerImu") {
            readImu(value, key, &settings->controllerImu);
        } else if (key == "magnetometer") {
            readTriaxial(value, key, {kMagnetometer}, &settings->magnetometer);
        } else {
            return false;
        }
        return true;
    });
}

TriaxialSettings withoutErrors(const TriaxialSettings& settings) {
    TriaxialSettings ideal;
    ideal.range = settings.range;
    return ideal;
}

ImuSettings withoutErrors(const ImuSettings& settings) {
    ImuSettings ideal = settings;
    ideal.accelerometer = withoutErrors(settings.accelerometer);
    ideal.gyroscope = withoutErrors(settings.gyroscope);
    ideal.timestampJitter = 0;
    return ideal;
}

}  // namespace

SensorSettings defaultSensors() {
    SensorSettings settings;
    readAll(YAML::Load(kSensorDefaults), &settings);
    return settings;
}

SensorSettings readSensors(const std::string& file) {
    SensorSettings settings = defaultSensors();
    try {
        readAll(YAML::LoadFile(file), &settings);
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("sensors {}: {}", file, error.what()));
    }
    return settings;
}

SensorSettings withoutErrors(const SensorSettings& settings) {
    return {withoutErrors(settings.headsetImu), withoutErrors(settings.boardImu),
            withoutErrors(settings.controllerImu), withoutErrors(settings.magnetometer)};
}

}  // namespace Simulator
