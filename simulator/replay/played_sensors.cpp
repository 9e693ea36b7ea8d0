// Services whose records come from a recording instead of a model.
#include "replay/played_sensors.h"

#include <log/log.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMotionSensorProvider.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>

#include "environment/environment_devices.h"
#include "environment/flicker_service.h"
#include "motion/sensor_services.h"
#include "registration.h"

namespace Simulator {
namespace {

constexpr uint32_t kImu = 0;
constexpr uint32_t kMag = 2;

/// A motion sensor whose configuration cannot be changed.
template <typename Interface, typename Record>
class PlayedMotionSensor : public StreamService<Interface, Record, StreamClients<Record>> {
  public:
    PlayedMotionSensor(android::sp<StreamClients<Record>> clients,
                       Hidl::MotionSensorProperties properties)
        : StreamService<Interface, Record, StreamClients<Record>>(std::move(clients)),
          properties_(std::move(properties)) {}

    Return<void> getProperties(typename Interface::getProperties_cb callback) override {
        callback(Hidl::Result::SUCCESS, properties_);
        return Void();
    }

    /// Accepts only the default, which stands for the recorded configuration.
    Return<Hidl::Result> configureStream(const Hidl::MotionStreamProperties& asked) override {
        if (asked.sampleRate != 0 || asked.batchSize > 1) {
            ALOGW("%s: is played back as it was recorded, not with %u Hz and batches of %u",
                  this->server().name().c_str(), asked.sampleRate, asked.batchSize);
        }
        return Hidl::Result::SUCCESS;
    }

  private:
    const Hidl::MotionSensorProperties properties_;
};

using PlayedImu = PlayedMotionSensor<Hidl::IImu, Hidl::ImuData>;
using PlayedMag = PlayedMotionSensor<Hidl::IMag, Hidl::MagData>;
using PlayedIad = StreamService<Hidl::IIad, Hidl::IadData, StreamClients<Hidl::IadData>>;
using PlayedExternalTiming =
    StreamService<Hidl::IExternalTimingProvider, Hidl::ExternalTimestampData,
                  StreamClients<Hidl::ExternalTimestampData>>;

/// Properties of a sensor from the recording's inventory; if that lacks the sensor, only its name.
Hidl::MotionSensorProperties propertiesOf(const nlohmann::json& description, uint32_t sensor,
                                          const char* name) {
    Hidl::MotionSensorProperties properties{name, "recorded", "", "", 0};
    const auto inventory = description.find("inventory");
    if (inventory == description.end() || !inventory->is_object()) {
        return properties;
    }
    for (const auto& entry : inventory->value("motion_sensors", nlohmann::json::array())) {
        if (entry.is_object() && entry.value("sensor", nlohmann::json()) == sensor) {
            const auto text = [&entry](const char* key) {
                const auto found = entry.find(key);
                return found != entry.end() && found->is_string() ? found->get<std::string>() : "";
            };
            const auto rate = entry.find("max_rate_hz");
            properties = {text("name"), text("vendor"), text("serial_number"), text("firmware"),
                          rate != entry.end() && rate->is_number() ? rate->get<float>() : 0};
        }
    }
    return properties;
}

class PlayedMotionSensorProvider : public Service<Hidl::IMotionSensorProvider> {
  public:
    PlayedMotionSensorProvider(android::sp<PlayedImu> imu, android::sp<PlayedMag> mag)
        : imu_(std::move(imu)), mag_(std::move(mag)) {}

    Return<void> getSensorInfo(getSensorInfo_cb callback) override {
        using Kind = Hidl::MotionSensorKind;
        using Mount = Hidl::MotionSensorMount;
        std::vector<Hidl::MotionSensorInfo> sensors;
        if (imu_ != nullptr) {
            sensors.push_back({kImu, Kind::IMU, Mount::HEADSET, 0});
        }
        if (mag_ != nullptr) {
            sensors.push_back({kMag, Kind::MAGNETOMETER, Mount::HEADSET, 0});
        }
        callback(Hidl::Result::SUCCESS, {sensors});
        return Void();
    }

    Return<android::sp<Hidl::IImu>> getImu(uint32_t sensor) override {
        return sensor == kImu ? android::sp<Hidl::IImu>(imu_) : nullptr;
    }

    Return<android::sp<Hidl::IMag>> getMag(uint32_t sensor) override {
        return sensor == kMag ? android::sp<Hidl::IMag>(mag_) : nullptr;
    }

  private:
    const android::sp<PlayedImu> imu_;
    const android::sp<PlayedMag> mag_;
};

/// Registers the service if it is not null. @return an error message; empty on success
template <typename Service>
std::string registerIfThere(const android::sp<Service>& service) {
    return service == nullptr ? "" : registerAlone(service);
}

template <typename... Services>
std::string registerThoseThere(const android::sp<Services>&... services) {
    std::string problem;
    ((problem = problem.empty() ? registerIfThere(services) : problem), ...);
    return problem;
}

}  // namespace

PlayedSensors::PlayedSensors(const Playback& playback) : playback_(playback) {}

template <typename Record>
android::sp<StreamClients<Record>> PlayedSensors::play(const char* stream) {
    const auto part = playback_.play<Record>(stream);
    if (part == nullptr) {
        return nullptr;
    }
    parts_.push_back(part);
    return part->clients();
}

std::string PlayedSensors::registerServices() {
    const auto& faults = playback_.faults;
    const nlohmann::json& description = playback_.recording->description();
    android::sp<PlayedImu> imu;
    if (const auto clients = play<Hidl::ImuData>("imu"); clients != nullptr) {
        imu = makeService<PlayedImu>(faults, clients,
                                     propertiesOf(description, kImu, "recorded IMU"));
    }
    android::sp<PlayedMag> mag;
    if (const auto clients = play<Hidl::MagData>("mag"); clients != nullptr) {
        mag = makeService<PlayedMag>(faults, clients,
                                     propertiesOf(description, kMag, "recorded magnetometer"));
    }
    android::sp<PlayedMotionSensorProvider> provider;
    if (imu != nullptr || mag != nullptr) {
        provider = makeService<PlayedMotionSensorProvider>(faults, imu, mag);
    }
    android::sp<PlayedIad> iad;
    if (const auto clients = play<Hidl::IadData>("iad"); clients != nullptr) {
        iad = makeService<PlayedIad>(faults, clients);
    }
    const FlickerStreams lights{play<Hidl::FlickerData>("flicker"),
                                play<Hidl::AdcFlickerData>("adc-flicker"),
                                play<Hidl::AmbientLightData>("ambient-light")};
    android::sp<FlickerService> lightSensor;
    if (lights.flicker != nullptr || lights.adcFlicker != nullptr ||
        lights.ambientLight != nullptr) {
        lightSensor = makeService<FlickerService>(
            faults, lights, Hidl::FlickerSensorProperties{"recorded light sensor", "recorded", ""});
    }
    android::sp<PlayedExternalTiming> externalTiming;
    if (const auto clients = play<Hidl::ExternalTimestampData>("external-timing");
        clients != nullptr) {
        externalTiming = makeService<PlayedExternalTiming>(faults, clients);
    }
    return registerThoseThere(provider, imu, mag, iad, lightSensor, externalTiming);
}

void PlayedSensors::stop() {
    for (const auto& part : parts_) {
        part->stop();
    }
}

std::vector<std::string> PlayedSensors::summary() const {
    std::vector<std::string> lines;
    for (const auto& part : parts_) {
        lines.push_back(part->summary());
    }
    return lines;
}

}  // namespace Simulator
