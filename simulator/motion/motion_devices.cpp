// See motion_devices.h.
#include "motion/motion_devices.h"

#include <fmt/format.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMotionSensorProvider.h>

#include <cmath>

#include "motion/sensor_models.h"
#include "registration.h"

namespace Simulator {
namespace {

constexpr uint32_t kHeadsetImu = 0;
constexpr uint32_t kBoardImu = 1;
constexpr uint32_t kHeadsetMag = 2;

constexpr SensorCapabilities kImuCapabilities{{1000, 1}, 2000};
constexpr SensorCapabilities kMagCapabilities{{100, 1}, 200};
constexpr SamplingPlan kIadPlan{10, 1};

Hal::MotionSensorProperties propertiesOf(const char* name, uint32_t sensor,
                                         const SensorCapabilities& capabilities) {
    return {name, "Zelvan", fmt::format("SIM-{:04}", sensor), "1.0",
            static_cast<float>(capabilities.maxSampleRate)};
}

android::sp<ImuService> makeImu(const char* name, uint32_t sensor, double mountingAngle,
                                const std::shared_ptr<Faults>& faults) {
    const auto model = std::make_shared<ImuModel>(sensor, mountingAngle);
    return new ImuService(
        std::make_shared<ImuService::Server>(
            name, kImuCapabilities.defaultPlan,
            [model](const SampleInstant& instant) { return model->sample(instant); }, faults),
        faults, propertiesOf(name, sensor, kImuCapabilities), kImuCapabilities);
}

android::sp<MagService> makeMag(const char* name, uint32_t sensor,
                                const std::shared_ptr<Faults>& faults) {
    const auto model = std::make_shared<MagModel>(sensor);
    return new MagService(
        std::make_shared<MagService::Server>(
            name, kMagCapabilities.defaultPlan,
            [model](const SampleInstant& instant) { return model->sample(instant); }, faults),
        faults, propertiesOf(name, sensor, kMagCapabilities), kMagCapabilities);
}

android::sp<IadService> makeIad(const std::shared_ptr<Faults>& faults) {
    const auto model = std::make_shared<IadModel>();
    return new IadService(
        std::make_shared<IadService::Server>(
            "IAD sensor", kIadPlan,
            [model](const SampleInstant& instant) { return model->sample(instant); }, faults),
        faults);
}

class MotionSensorProvider : public Hal::IMotionSensorProvider {
  public:
    MotionSensorProvider(std::vector<android::sp<ImuService>> imus, android::sp<MagService> mag,
                         std::shared_ptr<const Faults> faults)
        : imus_(std::move(imus)), mag_(std::move(mag)), faults_(std::move(faults)) {}

    android::hardware::Return<void> getSensorInfo(getSensorInfo_cb callback) override {
        using Kind = Hal::MotionSensorKind;
        using Mount = Hal::MotionSensorMount;
        Hal::MotionSensorMetadata metadata;
        metadata.sensors = {{kHeadsetImu, Kind::IMU, Mount::HEADSET, 0},
                            {kBoardImu, Kind::IMU, Mount::BOARD, 0},
                            {kHeadsetMag, Kind::MAGNETOMETER, Mount::HEADSET, 0}};
        callback(faults_->resultOf(descriptor, "getSensorInfo"), metadata);
        return android::hardware::Void();
    }

    android::hardware::Return<android::sp<Hal::IImu>> getImu(uint32_t sensor) override {
        return sensor < imus_.size() ? android::sp<Hal::IImu>(imus_[sensor]) : nullptr;
    }

    android::hardware::Return<android::sp<Hal::IMag>> getMag(uint32_t sensor) override {
        return sensor == kHeadsetMag ? android::sp<Hal::IMag>(mag_) : nullptr;
    }

  private:
    const std::vector<android::sp<ImuService>> imus_;
    const android::sp<MagService> mag_;
    const std::shared_ptr<const Faults> faults_;
};

}  // namespace

MotionDevices::MotionDevices(const std::shared_ptr<Faults>& faults)
    : faults_(faults),
      imus_{makeImu("headset IMU", kHeadsetImu, 0, faults),
            makeImu("board IMU", kBoardImu, M_PI / 2, faults)},
      mag_(makeMag("headset magnetometer", kHeadsetMag, faults)),
      iad_(makeIad(faults)) {}

std::string MotionDevices::registerServices() {
    const android::sp<Hal::IMotionSensorProvider> provider =
        new MotionSensorProvider(imus_, mag_, faults_);
    std::string problem = registerAlone<Hal::IMotionSensorProvider>(provider);
    if (problem.empty()) {
        problem = registerAlone<Hal::IImu>(imus_[kHeadsetImu]);
    }
    if (problem.empty()) {
        problem = registerAlone<Hal::IMag>(mag_);
    }
    if (problem.empty()) {
        problem = registerAlone<Hal::IIad>(iad_);
    }
    return problem;
}

void MotionDevices::stop() {
    for (const auto& imu : imus_) {
        imu->server().stop();
    }
    mag_->server().stop();
    iad_->server().stop();
}

std::vector<std::string> MotionDevices::summary() const {
    std::vector<std::string> lines;
    for (const auto& imu : imus_) {
        lines.push_back(summaryOf(imu->server()));
    }
    lines.push_back(summaryOf(mag_->server()));
    lines.push_back(summaryOf(iad_->server()));
    return lines;
}

}  // namespace Simulator
