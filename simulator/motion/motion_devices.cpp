#include "motion/motion_devices.h"

#include <fmt/format.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMotionSensorProvider.h>

#include <cmath>
#include <cstdint>
#include <utility>

#include "motion/sensor_models.h"
#include "registration.h"

namespace Simulator {
namespace {

constexpr uint32_t kHeadsetImu = 0;
constexpr uint32_t kBoardImu = 1;
constexpr uint32_t kHeadsetMag = 2;

// The board lies behind the headset IMU and is turned to the left.
const Pose kBoardInHeadset{turnBy({0, 0, M_PI / 2}), {0.02, -0.04, -0.01}};

constexpr SensorCapabilities kImuCapabilities{{1000, 1}, 2000};
constexpr SensorCapabilities kMagCapabilities{{100, 1}, 200};
constexpr SamplingPlan kIadPlan{10, 1};

Hidl::MotionSensorProperties propertiesOf(const char* name, uint32_t sensor,
                                          const SensorCapabilities& capabilities) {
    return {name, "Zelvan", fmt::format("SIM-{:04}", sensor), "1.0",
            static_cast<float>(capabilities.maxSampleRate)};
}

android::sp<ImuService> makeImu(const char* name, uint32_t sensor, ImuModel model,
                                const std::shared_ptr<Faults>& faults,
                                const std::shared_ptr<WorldClock>& clock) {
    return makeService<ImuService>(
        faults,
        new ImuService::Server(name, kImuCapabilities.defaultPlan, samplesOf(std::move(model)),
                               faults, clock),
        propertiesOf(name, sensor, kImuCapabilities), kImuCapabilities);
}

android::sp<ImuService> makeHeadsetImu(const std::shared_ptr<Faults>& faults,
                                       const std::shared_ptr<WorldClock>& clock,
                                       const std::shared_ptr<const World>& world) {
    constexpr char kName[] = "headset IMU";
    ImuModel model{kHeadsetImu,       kName, Pose{}, world->sensors.headsetImu, world,
                   world->groundTruth};
    return makeImu(kName, kHeadsetImu, std::move(model), faults, clock);
}

android::sp<ImuService> makeBoardImu(const std::shared_ptr<Faults>& faults,
                                     const std::shared_ptr<WorldClock>& clock,
                                     const std::shared_ptr<const World>& world) {
    constexpr char kName[] = "board IMU";
    ImuModel model{kBoardImu, kName, kBoardInHeadset, world->sensors.boardImu, world, nullptr};
    return makeImu(kName, kBoardImu, std::move(model), faults, clock);
}

android::sp<MagService> makeMag(const char* name, uint32_t sensor,
                                const std::shared_ptr<Faults>& faults,
                                const std::shared_ptr<WorldClock>& clock,
                                const std::shared_ptr<const World>& world) {
    return makeService<MagService>(
        faults,
        new MagService::Server(name, kMagCapabilities.defaultPlan,
                               samplesOf(MagModel(sensor, world)), faults, clock),
        propertiesOf(name, sensor, kMagCapabilities), kMagCapabilities);
}

android::sp<IadService> makeIad(const std::shared_ptr<Faults>& faults,
                                const std::shared_ptr<WorldClock>& clock, uint64_t seed) {
    return makeService<IadService>(
        faults,
        new IadService::Server("IAD sensor", kIadPlan, samplesOf(IadModel(seed)), faults, clock));
}

class MotionSensorProvider : public Service<Hidl::IMotionSensorProvider> {
  public:
    MotionSensorProvider(std::vector<android::sp<ImuService>> imus, android::sp<MagService> mag)
        : imus_(std::move(imus)), mag_(std::move(mag)) {}

    Return<void> getSensorInfo(getSensorInfo_cb callback) override {
        using Kind = Hidl::MotionSensorKind;
        using Mount = Hidl::MotionSensorMount;
        Hidl::MotionSensorMetadata metadata;
        metadata.sensors = {{kHeadsetImu, Kind::IMU, Mount::HEADSET, 0},
                            {kBoardImu, Kind::IMU, Mount::BOARD, 0},
                            {kHeadsetMag, Kind::MAGNETOMETER, Mount::HEADSET, 0}};
        callback(Hidl::Result::SUCCESS, metadata);
        return Void();
    }

    Return<android::sp<Hidl::IImu>> getImu(uint32_t sensor) override {
        return sensor < imus_.size() ? android::sp<Hidl::IImu>(imus_[sensor]) : nullptr;
    }

    Return<android::sp<Hidl::IMag>> getMag(uint32_t sensor) override {
        return sensor == kHeadsetMag ? android::sp<Hidl::IMag>(mag_) : nullptr;
    }

  private:
    const std::vector<android::sp<ImuService>> imus_;
    const android::sp<MagService> mag_;
};

}  // namespace

MotionDevices::MotionDevices(const std::shared_ptr<Faults>& faults,
                             const std::shared_ptr<WorldClock>& clock,
                             const std::shared_ptr<const World>& world)
    : faults_(faults),
      world_(world),
      imus_{makeHeadsetImu(faults, clock, world), makeBoardImu(faults, clock, world)},
      mag_(makeMag("headset magnetometer", kHeadsetMag, faults, clock, world)),
      iad_(makeIad(faults, clock, world->seed)) {}

std::string MotionDevices::registerServices() {
    const android::sp<MotionSensorProvider> provider =
        makeService<MotionSensorProvider>(faults_, imus_, mag_);
    return registerAlone(provider, imus_[kHeadsetImu], mag_, iad_);
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
    if (world_->groundTruth != nullptr) {
        lines.push_back(world_->groundTruth->summary());
    }
    return lines;
}

}  // namespace Simulator
